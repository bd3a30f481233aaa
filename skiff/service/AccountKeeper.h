#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "home/Home.h"
#include "skiff/feed/CloudLink.h"
#include "skiff/feed/ContainerList.h"
#include "skiff/feed/FeedFollower.h"
#include "skiff/log/DaemonLog.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Who is signed in on this device. The store keeps it; state/account.json tells everyone, and
// does so before a sign-in or sign-out is answered. While somebody is signed in, the feed of
// that account is followed.
//
// The tree belongs to the account it saw first: another one is refused. Signing out keeps tree
// and store; the same account goes on where it was.
// Threads: any.
class AccountKeeper {
 public:
  using Account = FeedFollower::Account;

  // Goes on with the account that is signed in, if any.
  AccountKeeper(const Home& home, CloudLink& link, ItemStore& store, const SyncedTree& tree,
                ContainerList& containers, ProblemList& problems, DaemonLog& log);
  ~AccountKeeper();

  // Throws CloudError; SkiffError (AccountMismatch).
  void login(const std::string& name);
  // Nothing happens when nobody is signed in.
  void logout();
  [[nodiscard]] std::optional<Account> current();
  // The same; throws SkiffError (SignedOut) when nobody is.
  [[nodiscard]] Account require();

  // See FeedFollower::whenIdle; nobody signed in is a failure.
  void whenIdle(FeedFollower::Idle idle);
  [[nodiscard]] bool isApplying();

 private:
  void start(const Account& account);
  void publish(const Account& account);

  const Home& _home;
  CloudLink& _link;
  ItemStore& _store;
  const SyncedTree& _tree;
  ContainerList& _containers;
  ProblemList& _problems;
  DaemonLog& _log;

  std::mutex _changeLock;  // held through a whole sign-in or sign-out
  std::mutex _lock;
  std::optional<Account> _current;          // guarded by _lock
  std::unique_ptr<FeedFollower> _follower;  // guarded by _lock
};

}  // namespace tessera
