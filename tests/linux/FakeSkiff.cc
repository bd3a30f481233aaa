#include "tests/linux/FakeSkiff.h"

#include <utility>

#include "rpc/Call.h"
#include "rpc/RpcConnectionSet.h"
#include "rpc/UnixListener.h"

namespace tessera {
namespace {

// A server's base has no virtual destructor, and needs none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Server final : public wire::Skiff::Server {
 public:
  explicit Server(SkiffBehaviour behaviour) : _behaviour(std::move(behaviour)) {}

  kj::Promise<void> ping(PingContext) override { return kj::READY_NOW; }
  kj::Promise<void> enumerateItemsInFolder(EnumerateItemsInFolderContext context) override {
    return run(_behaviour.folder, context);
  }
  kj::Promise<void> enumerateAllFolders(EnumerateAllFoldersContext context) override {
    return run(_behaviour.allFolders, context);
  }
  kj::Promise<void> enumerateWorkingSetChanges(EnumerateWorkingSetChangesContext context) override {
    return run(_behaviour.workingSet, context);
  }
  kj::Promise<void> itemAtPath(ItemAtPathContext context) override {
    return run(_behaviour.itemAtPath, context);
  }
  kj::Promise<void> documentPath(DocumentPathContext context) override {
    return run(_behaviour.documentPath, context);
  }
  kj::Promise<void> resolveReference(ResolveReferenceContext context) override {
    return run(_behaviour.resolveReference, context);
  }
  kj::Promise<void> containerItem(ContainerItemContext context) override {
    return run(_behaviour.containerItem, context);
  }
  kj::Promise<void> updateSender(UpdateSenderContext context) override {
    return run(_behaviour.updateSender, context);
  }
  kj::Promise<void> download(DownloadContext context) override {
    return run(_behaviour.download, context);
  }

 private:
  template <class Handler, class Context>
  static kj::Promise<void> run(const Handler& handler, Context context) {
    if (!handler) return KJ_EXCEPTION(UNIMPLEMENTED, "the test gave no behaviour for this");
    context.allowCancellation();
    return handler(context);
  }

  const SkiffBehaviour _behaviour;
};
#pragma GCC diagnostic pop

}  // namespace

struct FakeSkiff::Serving {
  Serving(EventLoop& loop, const Home& home, SkiffBehaviour given,
          std::shared_ptr<std::atomic<unsigned>> count)
      : behaviour(std::move(given)),
        connections(loop.io(), loop.timer()),
        listener(loop.eventPort(), loop.timer(), home.skiffSocket(), {.holdsInstanceLock = true},
                 [this, count = std::move(count)](AcceptedSocket socket) {
                   ++*count;
                   connections.add(kj::mv(socket), kj::heap<Server>(behaviour));
                 }) {}

  const SkiffBehaviour behaviour;
  RpcConnectionSet connections;
  UnixListener listener;
};

FakeSkiff::FakeSkiff(const Home& home, SkiffBehaviour behaviour) {
  using Started = LoopBound<kj::Own<Serving>>;
  auto started = callBlocking<Started>(
      _loop, [this, &home, behaviour = std::move(behaviour)]() mutable -> kj::Promise<Started> {
        return Started(_loop, kj::heap<Serving>(_loop, home, std::move(behaviour), _connections));
      });
  KJ_REQUIRE(started.ok(), started.failure().text.c_str());
  _serving = std::move(started).value();
}

}  // namespace tessera
