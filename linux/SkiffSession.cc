#include "linux/SkiffSession.h"

namespace tessera {
namespace {

kj::Duration durationOf(std::chrono::nanoseconds time) {
  return time.count() * kj::NANOSECONDS;
}

}  // namespace

SkiffSession::SkiffSession(EventLoop& loop, kj::AutoCloseFd socket, const SkiffPatience& patience)
    : _connection(loop.io(), loop.timer(), kj::mv(socket), RpcConnection::Side::Client),
      _skiff(_connection.bootstrapAs<wire::Skiff>()),
      _guard(_connection, loop.timer(), durationOf(patience.betweenPings),
             durationOf(patience.pingAnswer),
             [this] { return _skiff.pingRequest().send().ignoreResult(); }) {}

}  // namespace tessera
