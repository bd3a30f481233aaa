#pragma once

#include <cstddef>

#include <kj/async.h>
#include <kj/function.h>
#include <kj/refcount.h>
#include <kj/timer.h>

#include "rpc/RpcConnection.h"

namespace tessera {

// Makes sure that a peer that has stopped without dying (SIGSTOP, a hung loop) does not
// hang its callers: while calls are in flight, the peer is pinged, and a ping that is not
// answered in time closes the connection, so that all of them fail. A ping that fails is
// an answer too. A connection without calls is left alone.
//
// Threads: those of the connection's loop.
// Lifetime: must go before its connection and the timer; promises it watches may go later.
class LivenessGuard {
 public:
  // Makes a call to the peer that it answers at once.
  using Ping = kj::Function<kj::Promise<void>()>;

  // Pings after every `interval`; each must be answered within `patience`.
  LivenessGuard(RpcConnection& connection, kj::Timer& timer, kj::Duration interval,
                kj::Duration patience, Ping ping);
  LivenessGuard(const LivenessGuard&) = delete;
  LivenessGuard& operator=(const LivenessGuard&) = delete;
  ~LivenessGuard() noexcept(false);

  // The same promise, counted as a call in flight until it has ended or is dropped.
  template <class R>
  [[nodiscard]] kj::Promise<R> watch(kj::Promise<R> call) {
    callStarted();
    return call.attach(kj::defer([calls = kj::addRef(*_calls)]() mutable { --calls->count; }));
  }
  [[nodiscard]] std::size_t callsInFlight() const { return _calls->count; }

 private:
  struct Calls : kj::Refcounted {
    std::size_t count = 0;
  };

  void callStarted();
  kj::Promise<void> probe();
  kj::Promise<void> pingOnce();

  RpcConnection& _connection;
  kj::Timer& _timer;
  const kj::Duration _interval;
  const kj::Duration _patience;
  Ping _ping;
  kj::Own<Calls> _calls;
  bool _probing = false;
  kj::Promise<void> _probe = nullptr;
};

}  // namespace tessera
