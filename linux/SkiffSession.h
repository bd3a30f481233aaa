#pragma once

#include <chrono>

#include <kj/refcount.h>

#include "protocol/skiff.capnp.h"
#include "rpc/EventLoop.h"
#include "rpc/LivenessGuard.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// How patient the client library is with the daemon.
struct SkiffPatience {
  // A daemon that is not there may just be being started again: for how long, and how often,
  // connecting is tried.
  std::chrono::nanoseconds connecting = std::chrono::seconds(5);
  std::chrono::nanoseconds betweenAttempts = std::chrono::milliseconds(25);
  // While calls wait, the daemon's loop is asked this often whether it is alive, and has
  // this long to say so; the loop answers by itself, so that it takes microseconds.
  std::chrono::nanoseconds betweenPings = std::chrono::seconds(2);
  std::chrono::nanoseconds pingAnswer = std::chrono::seconds(5);
  // The daemon's loop is alive, but an answer does not come. Downloads have no limit.
  std::chrono::nanoseconds blockingCall = std::chrono::seconds(30);
  std::chrono::nanoseconds asynchronousCall = std::chrono::seconds(120);
};

// One connection to the daemon, from its making to its end.
//
// Threads: the loop's. Lifetime: held by the link while it is the latest, and by every call
// and every update sender that came over it.
class SkiffSession final : public kj::Refcounted {
 public:
  SkiffSession(EventLoop& loop, kj::AutoCloseFd socket, const SkiffPatience& patience);

  [[nodiscard]] wire::Skiff::Client& skiff() { return _skiff; }
  [[nodiscard]] bool isOpen() const { return _connection.isOpen(); }
  void close() { _connection.close(); }
  [[nodiscard]] kj::Promise<void> whenDisconnected() { return _connection.whenDisconnected(); }
  // `call`, over this session: fails in bounded time when the daemon dies or is stopped, and
  // keeps the session.
  template <class R>
  [[nodiscard]] kj::Promise<R> watch(kj::Promise<R> call) {
    return _guard.watch(kj::mv(call)).attach(kj::addRef(*this));
  }

 private:
  RpcConnection _connection;
  wire::Skiff::Client _skiff;
  LivenessGuard _guard;
};

}  // namespace tessera
