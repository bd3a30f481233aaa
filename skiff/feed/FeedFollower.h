#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "skiff/feed/CloudLink.h"
#include "skiff/feed/ContainerList.h"
#include "skiff/feed/FeedCursor.h"
#include "skiff/log/DaemonLog.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Keeps the tree in step with one account's documents: a thread that applies what is new, waits
// for more, and tries again, later and later, while the cloud or this device is in trouble.
//
// Lifetime: the destructor ends the thread, soon, and tells who waits.
// Threads: any.
class FeedFollower {
 public:
  struct Account {
    std::string name;
    std::string identifier;
  };
  // Called with nothing once the tree has everything, or with what went wrong.
  using Idle = std::function<void(std::exception_ptr)>;

  FeedFollower(CloudLink& link, ItemStore& store, const SyncedTree& tree, ContainerList& containers,
               ProblemList& problems, DaemonLog& log, Account account);
  ~FeedFollower();
  FeedFollower(const FeedFollower&) = delete;
  FeedFollower& operator=(const FeedFollower&) = delete;

  // Calls `idle`, on the thread, once everything that the cloud has now is in the tree.
  void whenIdle(Idle idle);
  [[nodiscard]] bool isApplying() const { return _applying.load(); }

 private:
  void run(const std::stop_token& stop);
  // One round: everything there is, then a wait for more.
  void round(const std::stop_token& stop);
  void applyAll(CloudDatabase& database, const std::stop_token& stop);
  void fail(const std::exception_ptr& failure);
  void waitToRetry(const std::stop_token& stop);
  // A stop request that whenIdle() and the end of the thread make.
  std::stop_token beginWait();
  std::vector<Idle> takeWaiting();
  void wake();

  CloudLink& _link;
  ItemStore& _store;
  const SyncedTree& _tree;
  ContainerList& _containers;
  ProblemList& _problems;
  DaemonLog& _log;
  const Account _account;
  FeedCursor _cursor;
  std::atomic<bool> _applying{false};
  int _failures = 0;         // the thread's; in a row
  std::string _lastFailure;  // the thread's

  std::mutex _lock;
  std::condition_variable _changed;
  std::vector<Idle> _waiting;  // guarded by _lock
  std::stop_source _wait;      // guarded by _lock; ends the wait under way
  std::jthread _thread;
};

}  // namespace tessera
