#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HostFixture.h"
#include "home/InstanceLock.h"
#include "rpc/UnixConnect.h"

namespace tessera {
namespace {

// The program itself, in a home of its own.
class Program {
 public:
  Program() : home(Home::at(folder.path())) {
    ::setenv("TESSERA_HOME", folder.path().c_str(), 1);
    ::setenv("TESSERA_LIBEXEC", FAKES_FOLDER, 1);
  }

  // Starts it; returns what it says of its readiness.
  std::string start(pid_t* pid) {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], 9);
    std::vector<std::string> words = {FILEPROVIDERD, "--ready-fd", "9"};
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(pid, FILEPROVIDERD, &actions, nullptr, arguments.data(), ::environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    std::string text;
    char block[512];
    for (;;) {
      const ssize_t count = ::read(ends[0], block, sizeof block);
      if (count <= 0) break;
      text.append(block, static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    return text;
  }

  static int exitStatus(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  TemporaryFolder folder;
  Home home;
};

// A client of the program, in a loop of its own.
struct Client {
  explicit Client(const Home& home) : socket(connectUnix(home.hostSocket(), error)) {}

  wire::FileProviderHost::Client service() {
    connection = std::make_unique<RpcConnection>(*io.lowLevelProvider, io.provider->getTimer(),
                                                 kj::mv(socket), RpcConnection::Side::Client);
    return connection->bootstrapAs<wire::FileProviderHost>();
  }

  std::error_code error;
  kj::AutoCloseFd socket;
  kj::AsyncIoContext io = kj::setupAsyncIo();
  std::unique_ptr<RpcConnection> connection;
};

void waitForEnd(pid_t pid) {
  const auto fd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  if (fd < 0) return;
  struct pollfd entry {
    fd, POLLIN, 0
  };
  ::poll(&entry, 1, -1);
  ::close(fd);
}

TEST(FileProviderd, ServesItsHomeUntilItIsToldToStop) {
  Program program;
  program.home.create();
  pid_t pid = 0;
  ASSERT_EQ(program.start(&pid), "R");
  Client client(program.home);
  ASSERT_FALSE(client.error);
  auto service = client.service();
  const auto status = service.statusRequest().send().wait(client.io.waitScope);
  EXPECT_EQ(status.getStatus().getPid(), static_cast<std::uint32_t>(pid));
  EXPECT_EQ(std::string(status.getStatus().getHome()), program.folder.path().string());
  EXPECT_EQ(service.pingExtensionRequest().send().wait(client.io.waitScope).hasError(), false);
  const auto running = service.statusRequest().send().wait(client.io.waitScope);
  const auto extension = static_cast<pid_t>(running.getStatus().getExtensionPid());
  const auto skiff = static_cast<pid_t>(running.getStatus().getSkiffPid());
  EXPECT_GT(extension, 0);
  EXPECT_GT(skiff, 0);
  service.shutdownRequest().send().wait(client.io.waitScope);
  EXPECT_EQ(Program::exitStatus(pid), 0);
  EXPECT_NE(::kill(extension, 0), 0);
  EXPECT_NE(::kill(skiff, 0), 0);
  EXPECT_FALSE(std::filesystem::exists(program.home.hostSocket()));
  EXPECT_FALSE(InstanceLock::holder(program.home.hostLock()));
}

TEST(FileProviderd, StopsOnSigterm) {
  Program program;
  program.home.create();
  pid_t pid = 0;
  ASSERT_EQ(program.start(&pid), "R");
  ::kill(pid, SIGTERM);
  EXPECT_EQ(Program::exitStatus(pid), 0);
  EXPECT_FALSE(std::filesystem::exists(program.home.hostSocket()));
}

TEST(FileProviderd, RefusesASecondOneInTheSameHome) {
  Program program;
  program.home.create();
  pid_t first = 0;
  ASSERT_EQ(program.start(&first), "R");
  pid_t second = 0;
  const std::string reason = program.start(&second);
  EXPECT_NE(reason.find("pid " + std::to_string(first)), std::string::npos) << reason;
  EXPECT_EQ(Program::exitStatus(second), 3);
  ::kill(first, SIGTERM);
  Program::exitStatus(first);
}

TEST(FileProviderd, ReplacesTheSocketOfOneThatWasKilled) {
  Program program;
  program.home.create();
  pid_t first = 0;
  ASSERT_EQ(program.start(&first), "R");
  ::kill(first, SIGKILL);
  Program::exitStatus(first);
  EXPECT_TRUE(std::filesystem::exists(program.home.hostSocket()));
  pid_t second = 0;
  ASSERT_EQ(program.start(&second), "R");
  EXPECT_FALSE(Client(program.home).error);
  ::kill(second, SIGTERM);
  EXPECT_EQ(Program::exitStatus(second), 0);
}

TEST(FileProviderd, TakesItsProcessesWithItWhenItIsKilled) {
  Program program;
  program.home.create();
  pid_t pid = 0;
  ASSERT_EQ(program.start(&pid), "R");
  Client client(program.home);
  auto service = client.service();
  service.pingExtensionRequest().send().wait(client.io.waitScope);
  const auto status = service.statusRequest().send().wait(client.io.waitScope);
  ::kill(pid, SIGKILL);
  Program::exitStatus(pid);
  waitForEnd(static_cast<pid_t>(status.getStatus().getSkiffPid()));
  waitForEnd(static_cast<pid_t>(status.getStatus().getExtensionPid()));
}

TEST(FileProviderd, RefusesAHomeThatWasNotSetUp) {
  Program program;
  pid_t pid = 0;
  EXPECT_NE(program.start(&pid).find("tessera up"), std::string::npos);
  EXPECT_EQ(Program::exitStatus(pid), 1);
  EXPECT_TRUE(std::filesystem::is_empty(program.folder.path()));
}

TEST(FileProviderd, RefusesAnIdleTimeThatIsNoNumber) {
  ::setenv("TESSERA_EXTENSION_IDLE", "soon", 1);
  Program program;
  program.home.create();
  pid_t pid = 0;
  EXPECT_NE(program.start(&pid).find("TESSERA_EXTENSION_IDLE"), std::string::npos);
  EXPECT_EQ(Program::exitStatus(pid), 1);
}

TEST(FileProviderd, TellsTheServiceManagerThatItIsReady) {
  Program program;
  program.home.create();
  const int listener = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = program.folder.path() / "notify";
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ::setenv("NOTIFY_SOCKET", path.c_str(), 1);
  pid_t pid = 0;
  ASSERT_EQ(program.start(&pid), "R");
  char text[64] = {};
  EXPECT_GT(::recv(listener, text, sizeof text - 1, 0), 0);
  EXPECT_STREQ(text, "READY=1");
  ::close(listener);
  ::kill(pid, SIGTERM);
  Program::exitStatus(pid);
}

}  // namespace
}  // namespace tessera
