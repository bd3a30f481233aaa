#include "skiff/service/Daemon.h"

#include <future>

#include "rpc/RpcConnectionSet.h"
#include "rpc/UnixListener.h"
#include "skiff/service/SkiffServer.h"
#include "skiff/tree/TreeRecovery.h"

namespace tessera {

namespace {

// Runs `work` on the loop and waits for it; what it throws comes out here.
template <typename Work>
void runOn(EventLoop& loop, Work work) {
  std::promise<void> done;
  bool accepted = loop.post([&done, &work] {
    try {
      work();
      done.set_value();
    } catch (...) {
      done.set_exception(std::current_exception());
    }
  });
  if (accepted) done.get_future().get();
}

}  // namespace

struct Daemon::Listening {
  Listening(Daemon& daemon, EventLoop& loop)
      : server(kj::heap<SkiffServer>(daemon)),
        connections(loop.io(), loop.timer()),
        listener(loop.eventPort(), loop.timer(), daemon.home.skiffSocket(),
                 {.holdsInstanceLock = true},
                 [this](AcceptedSocket socket) { connections.add(kj::mv(socket), server); }) {}

  wire::Skiff::Client server;
  RpcConnectionSet connections;
  UnixListener listener;
};

Daemon::Daemon(const Home& instanceHome, const HomeConfig& instanceConfig, DaemonLog& instanceLog)
    : home(instanceHome),
      config(instanceConfig),
      log(instanceLog),
      store(home.itemStore()),
      tree(home.tree()),
      link(config.cloudUrl, store),
      containers(store, tree, home),
      listing(store),
      changes(store),
      scanner(store, tree),
      loop([this](const kj::Exception& failure) {
        log.error(std::string("A task failed: ") + failure.getDescription().cStr());
      }) {
  recoverTree(store, tree);
  watchers = std::make_unique<WatcherHub>(loop, store);
  store.setCommitListener([this] { watchers->committed(); });
  accounts = std::make_unique<AccountKeeper>(home, link, store, tree, containers, problems, log);
  content = std::make_unique<CloudContent>(link, *accounts, store, tree, problems);
  hydrator = std::make_unique<Hydrator>(store, tree, *content, problems);
  transfers = std::make_unique<TransferQueue>(*hydrator);
  listen();
}

void Daemon::listen() {
  runOn(loop, [this] { _listening = std::make_shared<Listening>(*this, loop); });
}

Daemon::~Daemon() {
  // Nobody comes in any more and every request is dropped; then those who work for requests
  // end, and the loop last, since they answer on it.
  runOn(loop, [this] { _listening.reset(); });
  workers.reset();
  longWorkers.reset();
  transfers.reset();
  accounts.reset();
  watchers->stop();
}

}  // namespace tessera
