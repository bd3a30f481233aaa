// The whole extension process, around an extension of the test's: started as the host starts
// it, on a home of its own. Forked before this process has threads.

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "home/PublishedFile.h"
#include "home/PublishedState.h"
#include "linux/WireText.h"
#include "platform/fileprovider/NSFileProviderManager.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVAccount.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "platform/tessera/GVLog.h"
#include "platform/tessera/GVURLAdditions.h"
#include "tests/linux/FakeExtension.h"
#include "tests/linux/FakeHost.h"
#include "tests/linux/FakeSkiff.h"
#include "tests/linux/ScratchHome.h"

namespace tessera {
namespace {

class ExtensionEntryTest : public ::testing::Test {
 protected:
  // Runs the entry in a process of its own; `prepare` first.
  template <class Prepare>
  void start(Prepare prepare) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    _pid = ::fork();
    if (_pid == 0) {
      ::close(ends[0]);
      ::setenv("TESSERA_HOME", scratch.home.name().c_str(), 1);
      ::setenv("TESSERA_EXTENSION_SOCKET", std::to_string(ends[1]).c_str(), 1);
      ::unsetenv("JOURNAL_STREAM");
      prepare();
      runEntry();
    }
    ::close(ends[1]);
    socket = ends[0];
  }
  // Ends the process as a program does.
  [[noreturn]] static void runEntry() {
    char name[] = "tessera-fileprovider";
    char* arguments[] = {name, nullptr};
    std::exit(NSExtensionMain(1, arguments));
  }
  int exitStatus() {
    int status = 0;
    EXPECT_EQ(::waitpid(_pid, &status, 0), _pid);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return WEXITSTATUS(status);
  }
  static std::string urlOf(FakeHost& host, const std::string& identifier) {
    return host
        .call<std::string>([identifier](FakeHost::Extension& extension) {
          auto request = extension.urlForItemRequest();
          request.setIdentifier(identifier);
          return request.send().then([](auto&& r) { return textOf(r.getPath()); });
        })
        .value();
  }

  ScratchHome scratch;
  int socket = -1;

 private:
  pid_t _pid = -1;
};

TEST_F(ExtensionEntryTest, SaysWhoStartsItWhenAPersonDoes) {
  int output[2];
  ASSERT_EQ(::pipe(output), 0);
  for (const char* value : {static_cast<const char*>(nullptr), "", "x", "3x", "0", "-1", "77"}) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::dup2(output[1], STDERR_FILENO);
      ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
      if (value == nullptr) ::unsetenv("TESSERA_EXTENSION_SOCKET");
      if (value != nullptr) ::setenv("TESSERA_EXTENSION_SOCKET", value, 1);
      runEntry();
    }
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
    char text[512] = {};
    ASSERT_GT(::read(output[0], text, sizeof text - 1), 0);
    EXPECT_NE(std::string(text).find("fileproviderd"), std::string::npos) << text;
  }
}

TEST_F(ExtensionEntryTest, ServesThePrincipalObjectUntilTheHostIsGone) {
  start([] {
    principalObjectMaker() = [] {
      auto extension = std::make_shared<FakeExtension>();
      extension->onUrl = [](const std::string& identifier) {
        gvc_default_log().debug("[DEBUG] asked for %@", identifier);
        return NSURL::fileURLWithPath("/tree/" + identifier);
      };
      return extension;
    };
  });
  {
    FakeHost host(socket);
    EXPECT_EQ(urlOf(host, "a"), "/tree/a");
  }
  EXPECT_EQ(exitStatus(), 0);
  std::ifstream log(scratch.home.extensionLog());
  const std::string text{std::istreambuf_iterator<char>(log), {}};
  EXPECT_NE(text.find(" debug tessera.client [DEBUG] asked for a\n"), std::string::npos) << text;
}

TEST_F(ExtensionEntryTest, InstallsTheClientLibraryAndThePlatform) {
  publishFile(scratch.home.accountFile(), PublishedAccount{"anna", std::string("x")}.toJson());
  publishFile(scratch.home.containersFile(),
              containersToJson({{GVUbiquitousDefaultContainerID, "T", "",
                                 "01234567-89ab-cdef-0123-456789abcdef"}}));
  start([] {
    principalObjectMaker() = [] {
      // As the extension does when it is made: watch the account, and signal when it changes.
      GVAccount::startAccountTokenChangeObserverIfNeeded();
      NSNotificationCenter::defaultCenter().addObserver(
          nullptr, GVAccountTokenDidChangeNotification, [] {
            NSFileProviderManager::defaultManager().signalEnumeratorForContainerItemIdentifier(
                "root", [](const NSErrorPtr&) {});
          });
      auto extension = std::make_shared<FakeExtension>();
      extension->onUrl = [](const std::string& what) -> NSURLPtr {
        if (what == "account") {
          const auto account = GVAccount::currentLoggedInAccountWithError(nullptr);
          return NSURL::fileURLWithPath("/" + (account ? account->name() : "nobody"));
        }
        if (what == "root") {
          return GVContainer::allContainersByContainerID()
              .at(GVUbiquitousDefaultContainerID)
              ->documentsURL();
        }
        return gv_documentURLFromFileObjectID(*GVFileObjectID::fileObjectIDWithString(what),
                                              nullptr);
      };
      return extension;
    };
  });
  Answer<std::string> signalled;
  FakeSkiff skiff(scratch.home, {.documentPath = [](auto context) -> kj::Promise<void> {
                    context.getResults().setPath("/asked/skiff");
                    return kj::READY_NOW;
                  }});
  FakeHost host(socket, [&](const std::string& identifier) {
    signalled.handler()(identifier);
    return 0;
  });
  EXPECT_EQ(urlOf(host, "account"), "/anna");
  EXPECT_EQ(urlOf(host, "root"), scratch.home.tree().string());
  EXPECT_EQ(urlOf(host, "01234567-89ab-cdef-0123-456789abcdef"), "/asked/skiff");
  withdrawFile(scratch.home.accountFile());
  EXPECT_EQ(urlOf(host, "account"), "/nobody");
  EXPECT_EQ(std::get<0>(signalled.wait()), "root");
  host.hangUp();
  EXPECT_EQ(exitStatus(), 0);
}

TEST_F(ExtensionEntryTest, EndsWhenTheHostGoesWhileRequestsWaitForTheDaemon) {
  start([] {
    principalObjectMaker() = [] {
      auto extension = std::make_shared<FakeExtension>();
      extension->onUrl = [](const std::string& what) {
        return gv_documentURLFromFileObjectID(*GVFileObjectID::fileObjectIDWithString(what),
                                              nullptr);
      };
      return extension;
    };
  });
  Answer<> arrived;
  FakeSkiff skiff(scratch.home, {.documentPath = [&](auto) -> kj::Promise<void> {
                    arrived.handler()();
                    return kj::NEVER_DONE;
                  }});
  FakeHost host(socket);
  Answer<Outcome<std::string>> answer;
  for (int i = 0; i < 3; ++i) {
    host.callLater<std::string>(
        [](FakeHost::Extension& extension) {
          auto request = extension.urlForItemRequest();
          request.setIdentifier("01234567-89ab-cdef-0123-456789abcdef");
          return request.send().then([](auto&& r) { return textOf(r.getPath()); });
        },
        answer.handler());
  }
  arrived.wait(3);
  host.hangUp();
  EXPECT_EQ(exitStatus(), 0);
}

TEST_F(ExtensionEntryTest, SaysWhatIsWrongWithTheHome) {
  start([] { ::setenv("TESSERA_HOME", "relative/folder", 1); });
  EXPECT_EQ(exitStatus(), 1);
  ::close(socket);
}

}  // namespace
}  // namespace tessera
