#include "rpc/RpcConnectionSet.h"

#include <utility>

#include <kj/debug.h>

namespace tessera {

RpcConnectionSet::RpcConnectionSet(kj::LowLevelAsyncIoProvider& io, kj::Timer& timer,
                                   RpcLimits limits)
    : _io(io), _timer(timer), _limits(limits), _ends(*this) {}

RpcConnection& RpcConnectionSet::add(AcceptedSocket socket, capnp::Capability::Client exported) {
  const auto key = _nextKey++;
  auto owned = kj::heap<RpcConnection>(_io, _timer, kj::mv(socket.fd), RpcConnection::Side::Server,
                                       kj::mv(exported), _limits);
  auto& connection = *owned;
  _connections.emplace(key, Entry{std::move(socket.slot), kj::mv(owned)});
  // Taken out first: what the connection releases may look at the set.
  _ends.add(connection.whenDisconnected().then(
      [this, key] { const auto ended = _connections.extract(key); }));
  return connection;
}

void RpcConnectionSet::taskFailed(kj::Exception&& exception) {
  KJ_LOG(ERROR, "ending a connection failed", exception);
}

}  // namespace tessera
