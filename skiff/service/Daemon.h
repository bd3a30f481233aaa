#pragma once

#include <memory>
#include <vector>

#include "home/Home.h"
#include "home/HomeConfig.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"
#include "skiff/feed/CloudLink.h"
#include "skiff/feed/ContainerList.h"
#include "skiff/log/DaemonLog.h"
#include "skiff/service/AccountKeeper.h"
#include "skiff/service/CloudContent.h"
#include "skiff/service/WatcherHub.h"
#include "skiff/store/ChangeLog.h"
#include "skiff/store/ItemListing.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/transfer/Hydrator.h"
#include "skiff/transfer/TransferQueue.h"
#include "skiff/tree/PathScanner.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Everything of one running daemon, put together. What it serves is in SkiffServer and
// AdminServer.
//
// Lifetime: the constructor recovers the tree from a crash, goes on with the account and
// listens; the destructor ends all of it gracefully. The instance's lock is held throughout.
class Daemon {
 public:
  // Throws SkiffError, SqliteError, std::system_error when the home cannot be served.
  Daemon(const Home& home, const HomeConfig& config, DaemonLog& log);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  const Home& home;
  const HomeConfig& config;
  DaemonLog& log;
  ProblemList problems;
  ItemStore store;
  SyncedTree tree;
  CloudLink link;
  ContainerList containers;
  ItemListing listing;
  ChangeLog changes;
  PathScanner scanner;
  // Requests that read or write the store and the tree.
  std::unique_ptr<CallbackPool> workers = std::make_unique<CallbackPool>(8);
  // Requests that take as long as they like.
  std::unique_ptr<CallbackPool> longWorkers = std::make_unique<CallbackPool>(4);
  EventLoop loop;
  std::unique_ptr<WatcherHub> watchers;
  std::unique_ptr<AccountKeeper> accounts;
  std::unique_ptr<CloudContent> content;
  std::unique_ptr<Hydrator> hydrator;
  std::unique_ptr<TransferQueue> transfers;

 private:
  struct Listening;  // what lives on the loop
  void listen();

  std::shared_ptr<Listening> _listening;
};

}  // namespace tessera
