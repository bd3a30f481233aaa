#pragma once

#include <memory>

#include "platform/tessera/GVItemNotification.h"
#include "protocol/skiff.capnp.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"

namespace tessera {

// Servers are destroyed by whoever made them, as what they are: their base needs no virtual
// destructor, and has none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// A watcher, as the daemon calls it: one call at a time and in the order in which they came.
// The answer to a batch of updates is the watcher's own reply. Progress is answered as soon
// as the watcher has been called with it: nobody waits for a reply that may never come.
//
// Threads: the loop's; the watcher is called, and let go, on threads of the pool.
class UpdateReceiverService final : public wire::UpdateReceiver::Server {
 public:
  UpdateReceiverService(EventLoop& loop, CallbackPool& callbacks,
                        std::shared_ptr<GVItemNotificationReceiving> receiver)
      : _loop(loop), _callbacks(callbacks), _receiver(std::move(receiver)) {}
  ~UpdateReceiverService() noexcept;

  kj::Promise<void> receiveUpdates(ReceiveUpdatesContext context) override;
  kj::Promise<void> receiveProgressUpdates(ReceiveProgressUpdatesContext context) override;

 private:
  struct Done {};

  // `deliver` gets the receiver and a reply; the promise ends when that has been called.
  template <class Deliver>
  kj::Promise<void> inTurn(Deliver deliver);

  EventLoop& _loop;
  CallbackPool& _callbacks;
  std::shared_ptr<GVItemNotificationReceiving> _receiver;
  kj::ForkedPromise<void> _last = kj::Promise<void>(kj::READY_NOW).fork();  // never fails
};
#pragma GCC diagnostic pop

}  // namespace tessera
