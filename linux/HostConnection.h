#pragma once

#include <future>
#include <memory>

#include <kj/io.h>

#include "platform/dispatch/WorkerPool.h"
#include "platform/fileprovider/NSFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderManager.h"
#include "protocol/extension.capnp.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// The connection to the host service, over the socket that this process inherited: the
// extension's object goes out over it, and signals to the platform.
//
// Threads: any but the loop's. Lifetime: within that of the loop and the callback pool.
class HostConnection final : public NSFileProviderManager {
 public:
  HostConnection(EventLoop& loop, CallbackPool& callbacks, kj::AutoCloseFd socket);
  ~HostConnection() override;

  // Lets the host's requests through to `extension`, on threads of `requests`. Requests that
  // came before wait for this. Once; the pool outlives the connection's end.
  void serve(WorkerPool& requests, std::shared_ptr<NSFileProviderExtension> extension);
  // Returns when the host is gone. Once.
  void waitUntilGone();
  // Ends the connection; everything that the host held is let go when this returns.
  void close();

  void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& identifier,
                                                  SignalCompletion completionHandler) override;

 private:
  // What is on the loop.
  struct OnLoop {
    OnLoop(EventLoop& loop, kj::AutoCloseFd socket, std::shared_ptr<std::promise<void>> gone);

    kj::Own<kj::PromiseFulfiller<wire::FileProviderExtension::Client>> exported;
    kj::Maybe<kj::Own<RpcConnection>> connection;
    kj::Maybe<wire::ExtensionHost::Client> host;
  };

  EventLoop& _loop;
  CallbackPool& _callbacks;
  std::future<void> _gone;
  LoopBound<kj::Own<OnLoop>> _onLoop;
};

}  // namespace tessera
