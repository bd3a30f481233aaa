#pragma once

#include "platform/dispatch/WorkerPool.h"
#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "protocol/extension.capnp.h"
#include "rpc/EventLoop.h"

namespace tessera {

// Servers are destroyed by whoever made them, as what they are: their base needs no virtual
// destructor, and has none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// One of the extension's enumerators, as the host calls it. When the host has dropped its
// last reference, the enumerator is invalidated and let go.
//
// Threads: the loop's. The enumerator is used, and let go, on threads of the pool only.
class EnumeratorService final : public wire::Enumerator::Server {
 public:
  // The pool outlives this.
  EnumeratorService(EventLoop& loop, WorkerPool& requests, NSFileProviderEnumeratorPtr enumerator)
      : _loop(loop), _requests(requests), _enumerator(std::move(enumerator)) {}
  ~EnumeratorService() noexcept;

  kj::Promise<void> enumerateItems(EnumerateItemsContext context) override;
  kj::Promise<void> enumerateChanges(EnumerateChangesContext context) override;
  kj::Promise<void> currentSyncAnchor(CurrentSyncAnchorContext context) override;

 private:
  EventLoop& _loop;
  WorkerPool& _requests;
  NSFileProviderEnumeratorPtr _enumerator;
};
#pragma GCC diagnostic pop

}  // namespace tessera
