// The account and the containers as the daemon publishes them, and the notifications.

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "home/PublishedState.h"
#include "linux/PublishedAccounts.h"
#include "linux/PublishedContainers.h"
#include "linux/StateFolderObserver.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVErrors.h"
#include "platform/tessera/GVLog.h"
#include "tests/linux/Answer.h"
#include "tests/linux/ScratchHome.h"
#include "tests/support/log/CapturingLog.h"

namespace tessera {
namespace {

constexpr const char* kFolder = "01234567-89ab-cdef-0123-456789abcdef";

class PublishedStateTest : public ::testing::Test {
 protected:
  void publishAccount(const char* name) {
    publishFile(home.accountFile(), PublishedAccount{name, std::string("per-app")}.toJson());
  }
  void publishContainers(const std::vector<PublishedContainer>& containers) {
    publishFile(home.containersFile(), containersToJson(containers));
  }

  ScratchHome scratch;
  const Home& home = scratch.home;
};

TEST_F(PublishedStateTest, AnAccountIsThereFromPublishingToWithdrawing) {
  PublishedAccounts accounts(home);
  NSErrorPtr error;
  EXPECT_EQ(accounts.currentLoggedInAccount(&error), nullptr);
  EXPECT_EQ(error, nullptr);
  publishAccount("anna");
  auto account = accounts.currentLoggedInAccount(&error);
  ASSERT_NE(account, nullptr);
  EXPECT_EQ(account->name(), "anna");
  EXPECT_EQ(account->perAppAccountIdentifier(), "per-app");
  publishAccount("bert");
  EXPECT_EQ(accounts.currentLoggedInAccount(nullptr)->name(), "bert");
  withdrawFile(home.accountFile());
  EXPECT_EQ(accounts.currentLoggedInAccount(&error), nullptr);
  EXPECT_EQ(error, nullptr);
}

TEST_F(PublishedStateTest, AnAccountMayBeUnusableHere) {
  PublishedAccounts accounts(home);
  publishFile(home.accountFile(), PublishedAccount{"anna", std::nullopt}.toJson());
  EXPECT_EQ(accounts.currentLoggedInAccount(nullptr)->perAppAccountIdentifier(), std::nullopt);
}

TEST_F(PublishedStateTest, ABrokenAccountIsAnErrorAndANewerOneAnother) {
  PublishedAccounts accounts(home);
  for (const char* text : {"", "[]", "{\"format\":1}", "{\"format\":1,\"name\":7}", "\xff{"}) {
    publishFile(home.accountFile(), text);
    NSErrorPtr error;
    EXPECT_EQ(accounts.currentLoggedInAccount(&error), nullptr);
    ASSERT_NE(error, nullptr) << text;
    EXPECT_EQ(error->domain(), GVTesseraErrorDomain);
    EXPECT_EQ(error->code(), GVTesseraErrorUnknown) << text;
    EXPECT_EQ(accounts.currentLoggedInAccount(nullptr), nullptr);
  }
  publishFile(home.accountFile(), "{\"format\":99,\"name\":\"anna\"}");
  NSErrorPtr error;
  EXPECT_EQ(accounts.currentLoggedInAccount(&error), nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorNewerVersion);
}

TEST_F(PublishedStateTest, ContainersHaveTheirFoldersInTheTree) {
  PublishedContainers containers(home);
  EXPECT_TRUE(containers.allContainersByContainerID().empty());
  publishContainers({{GVUbiquitousDefaultContainerID, "Tessera", "", kFolder},
                     {"app.notes", "Notizen", "Apps/Notes", kFolder}});
  const auto all = containers.allContainersByContainerID();
  ASSERT_EQ(all.size(), 2U);
  const auto& root = all.at(GVUbiquitousDefaultContainerID);
  EXPECT_EQ(root->documentsURL()->path(), home.tree().string());
  EXPECT_EQ(root->documentsFolderID().asString(), kFolder);
  EXPECT_EQ(all.at("app.notes")->displayName(), "Notizen");
  EXPECT_EQ(containers.containerAtPath(home.tree().string()), GVUbiquitousDefaultContainerID);
  EXPECT_EQ(containers.containerAtPath(home.tree().string() + "/Apps/Notes"), "app.notes");
  EXPECT_EQ(containers.containerAtPath(home.tree().string() + "/Apps"), std::nullopt);
}

TEST_F(PublishedStateTest, TheListIsTheSameObjectsUntilItIsReplaced) {
  PublishedContainers containers(home);
  publishContainers({{"a", "A", "A", kFolder}});
  const auto first = containers.allContainersByContainerID().at("a");
  EXPECT_EQ(containers.allContainersByContainerID().at("a"), first);
  publishContainers({{"a", "B", "A", kFolder}});
  EXPECT_EQ(containers.allContainersByContainerID().at("a")->displayName(), "B");
  withdrawFile(home.containersFile());
  EXPECT_TRUE(containers.allContainersByContainerID().empty());
}

TEST_F(PublishedStateTest, AContainerThatCannotBeRightIsLeftOut) {
  CapturingLogBackend log(gvc_default_log());
  PublishedContainers containers(home);
  publishContainers({{"out", "O", "../elsewhere", kFolder},
                     {"no-id", "N", "N", "nonsense"},
                     {"", "E", "E", kFolder},
                     {"good", "G", "G", kFolder}});
  EXPECT_EQ(containers.allContainersByContainerID().size(), 1U);
  EXPECT_EQ(log.texts(LogType::Error).size(), 3U);
}

TEST_F(PublishedStateTest, ABrokenListCountsAsEmpty) {
  CapturingLogBackend log(gvc_default_log());
  PublishedContainers containers(home);
  publishFile(home.containersFile(), "{\"format\":1,\"containers\":[{}]}");
  EXPECT_TRUE(containers.allContainersByContainerID().empty());
  EXPECT_EQ(log.texts(LogType::Error).size(), 1U);
}

// Counts posts of one name; the handler runs on the observer's thread.
class Posts {
 public:
  explicit Posts(const char* name) {
    NSNotificationCenter::defaultCenter().addObserver(this, name, _answer.handler());
  }
  ~Posts() { NSNotificationCenter::defaultCenter().removeObserver(this); }
  void waitFor(std::size_t number) const { _answer.wait(number); }
  [[nodiscard]] std::size_t count() const { return _answer.count(); }

 private:
  Answer<> _answer;
};

TEST_F(PublishedStateTest, AccountChangesAreToldToWhoeverAsked) {
  PublishedAccounts accounts(home);
  const Posts posts(GVAccountTokenDidChangeNotification);
  accounts.fileDidChange();
  EXPECT_EQ(posts.count(), 0U);
  accounts.startAccountTokenChangeObserverIfNeeded();
  accounts.startAccountTokenChangeObserverIfNeeded();
  accounts.fileDidChange();
  EXPECT_EQ(posts.count(), 1U);
}

TEST_F(PublishedStateTest, ListChangesAreToldOnceItWasAskedForAndOnlyIfItIsAnother) {
  PublishedContainers containers(home);
  const Posts posts(GVContainerListDidChangeNotification);
  publishContainers({{"a", "A", "A", kFolder}});
  containers.fileDidChange();
  EXPECT_EQ(posts.count(), 0U);
  (void)containers.allContainersByContainerID();
  containers.fileDidChange();
  publishContainers({{"a", "A", "A", kFolder}});  // another file, the same list
  containers.fileDidChange();
  EXPECT_EQ(posts.count(), 0U);
  publishContainers({{"b", "B", "B", kFolder}});
  // Seen by a request before the change was told: the users still have to hear of it.
  (void)containers.allContainersByContainerID();
  containers.fileDidChange();
  containers.fileDidChange();
  EXPECT_EQ(posts.count(), 1U);
  withdrawFile(home.containersFile());
  containers.fileDidChange();
  EXPECT_EQ(posts.count(), 2U);
}

TEST_F(PublishedStateTest, TheFolderObserverTellsOfReplacedAndWithdrawnFilesOnly) {
  Answer<> account;
  Answer<> list;
  {
    StateFolderObserver observer(
        home.state(), {{"account.json", account.handler()}, {"containers.json", list.handler()}});
    publishFile(home.state() / "other.json", "x");
    publishAccount("anna");
    account.wait(1);
    publishAccount("bert");
    account.wait(2);
    withdrawFile(home.accountFile());
    account.wait(3);
    EXPECT_EQ(list.count(), 0U);
    publishContainers({});
    list.wait(1);
  }
  EXPECT_EQ(account.count(), 3U);
  EXPECT_EQ(list.count(), 1U);
}

TEST_F(PublishedStateTest, AFolderThatIsNotThereCannotBeWatched) {
  EXPECT_THROW(StateFolderObserver(home.state() / "missing", {}), std::system_error);
}

}  // namespace
}  // namespace tessera
