#pragma once

#include <vector>

#include <capnp/rpc-twoparty.h>
#include <capnp/serialize-async.h>
#include <kj/async-io.h>
#include <kj/function.h>
#include <kj/io.h>
#include <kj/timer.h>

#include "rpc/ObservedMessageStream.h"
#include "rpc/RpcLimits.h"

namespace tessera {

// One connection over a Unix socket between two processes. Each side may export an object
// (its bootstrap), so that objects flow both ways; messages may carry descriptors.
//
// A peer that dies, sends what is no message or lets unread replies pile up loses the
// connection: every call on it fails as DISCONNECTED, and references to the peer's objects
// stay broken.
//
// Threads: those of one loop: an EventLoop (held there through LoopBound<kj::Own<...>>) or
// the loop of a program with one thread.
// Lifetime: references to the peer's objects may outlive it.
class RpcConnection final : private kj::TaskSet::ErrorHandler {
 public:
  // Two different sides meet; by custom whoever connected is the client.
  enum class Side { Client, Server };

  // Takes over `socket`. Without `exported` the peer finds no object here.
  RpcConnection(kj::LowLevelAsyncIoProvider& io, kj::Timer& timer, kj::AutoCloseFd socket,
                Side side, kj::Maybe<capnp::Capability::Client> exported = nullptr,
                RpcLimits limits = {});
  RpcConnection(const RpcConnection&) = delete;
  RpcConnection& operator=(const RpcConnection&) = delete;
  // Closes. Handlers that have not been called are not called any more.
  ~RpcConnection() noexcept(false);

  // The object that the peer exports; usable at once, failures come with the calls.
  [[nodiscard]] capnp::Capability::Client bootstrap();
  template <class Interface>
  [[nodiscard]] typename Interface::Client bootstrapAs() {
    return bootstrap().castAs<Interface>();
  }

  // Ends the connection from this side, in a later turn of the loop: it may be called from
  // anywhere, also from a call that came in over it.
  void close();
  // False once the connection has ended, and from close() on.
  [[nodiscard]] bool isOpen() const { return _open; }

  // Calls `handler` once when the connection has ended, in order of registration (in a
  // later turn if it has ended already). The handler must not destroy the connection.
  void onDisconnect(kj::Function<void()> handler);
  // The same as a promise, which also resolves when the connection is destroyed: whoever
  // waits for it in a task set of his own may destroy the connection then.
  [[nodiscard]] kj::Promise<void> whenDisconnected() { return _network.onDisconnect(); }

  // Bytes of messages that wait for the peer to read.
  [[nodiscard]] std::size_t unreadBytes() { return _network.getCurrentQueueSize(); }

 private:
  using Network = capnp::TwoPartyVatNetwork;
  using System = capnp::RpcSystem<capnp::rpc::twoparty::VatId>;

  void taskFailed(kj::Exception&& exception) override;
  void noteEnd();
  kj::Promise<void> closeAfterHangUp();
  void run(kj::Function<void()> handler);
  void checkBacklog();
  kj::Promise<void> watchBacklog();
  void destroySystem();

  const RpcLimits _limits;
  kj::Timer& _timer;
  const int _socket;  // owned by _stream
  const Side _side;
  bool _open = true;    // neither closed nor ended
  bool _ended = false;  // the handlers have been called
  bool _watchesBacklog = false;
  std::vector<kj::Function<void()>> _handlers;
  kj::Own<kj::AsyncCapabilityStream> _stream;
  capnp::AsyncCapabilityMessageStream _messages;
  ObservedMessageStream _observed;
  Network _network;
  kj::Maybe<System> _system;
  kj::Maybe<capnp::Capability::Client> _peer;
  kj::TaskSet _tasks;
};

}  // namespace tessera
