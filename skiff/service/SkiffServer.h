#pragma once

#include <functional>
#include <memory>

#include "protocol/skiff.capnp.h"
#include "rpc/WorkerHop.h"
#include "skiff/service/Daemon.h"
#include "skiff/service/ServiceError.h"

namespace tessera {

// Work for a request away from the loop, answered on it.
template <typename Work>
auto answerOnWorker(EventLoop& loop, CallbackPool& pool, Work work)
    -> kj::Promise<Answer<decltype(work())>> {
  using Result = Answer<decltype(work())>;
  return onWorker<Result>(
      loop, [&pool](auto task) { pool.post(kj::mv(task)); },
      [work = kj::mv(work)]() -> Result { return answerOf(work); });
}

// Servers are destroyed by the capability library, which knows their type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// What the daemon offers on its socket; see skiff.capnp. Arguments are checked here.
//
// Threads: the loop's. Lifetime: ends before its daemon.
class SkiffServer final : public wire::Skiff::Server {
 public:
  explicit SkiffServer(Daemon& daemon) : _daemon(daemon) {}

 protected:
  kj::Promise<void> ping(PingContext context) override;
  kj::Promise<void> enumerateItemsInFolder(EnumerateItemsInFolderContext context) override;
  kj::Promise<void> enumerateAllFolders(EnumerateAllFoldersContext context) override;
  kj::Promise<void> enumerateWorkingSetChanges(EnumerateWorkingSetChangesContext context) override;
  kj::Promise<void> itemAtPath(ItemAtPathContext context) override;
  kj::Promise<void> documentPath(DocumentPathContext context) override;
  kj::Promise<void> resolveReference(ResolveReferenceContext context) override;
  kj::Promise<void> containerItem(ContainerItemContext context) override;
  kj::Promise<void> updateSender(UpdateSenderContext context) override;
  kj::Promise<void> download(DownloadContext context) override;
  kj::Promise<void> admin(AdminContext context) override;

 private:
  template <typename Work>
  auto answer(Work work) {
    return answerOnWorker(_daemon.loop, *_daemon.workers, kj::mv(work));
  }

  Daemon& _daemon;
};

#pragma GCC diagnostic pop

}  // namespace tessera
