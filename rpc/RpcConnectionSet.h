#pragma once

#include <cstddef>
#include <map>

#include <capnp/capability.h>
#include <kj/async-io.h>
#include <kj/timer.h>

#include "rpc/AcceptedSocket.h"
#include "rpc/RpcConnection.h"
#include "rpc/RpcLimits.h"

namespace tessera {

// The connections of a server: each is kept until it ends.
// Threads: the loop's. Lifetime: the destructor closes them all.
class RpcConnectionSet final : private kj::TaskSet::ErrorHandler {
 public:
  RpcConnectionSet(kj::LowLevelAsyncIoProvider& io, kj::Timer& timer, RpcLimits limits = {});

  // Serves `exported` to the peer, as the server's side. The reference is good until the
  // connection has ended.
  RpcConnection& add(AcceptedSocket socket, capnp::Capability::Client exported);
  [[nodiscard]] std::size_t size() const { return _connections.size(); }

 private:
  struct Entry {
    std::shared_ptr<void> slot;
    kj::Own<RpcConnection> connection;
  };

  void taskFailed(kj::Exception&& exception) override;

  kj::LowLevelAsyncIoProvider& _io;
  kj::Timer& _timer;
  const RpcLimits _limits;
  std::uint64_t _nextKey = 1;
  std::map<std::uint64_t, Entry> _connections;
  kj::TaskSet _ends;
};

}  // namespace tessera
