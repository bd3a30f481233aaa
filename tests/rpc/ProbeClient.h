#pragma once

#include <cstdint>
#include <optional>

#include <kj/io.h>

#include "Probe.capnp.h"
#include "rpc/Call.h"
#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// A connection to a ProbeServer, used from any thread.
class ProbeClient {
 public:
  ProbeClient(EventLoop& loop, kj::AutoCloseFd socket);

  [[nodiscard]] const LoopBound<probe::Probe::Client>& probe() const { return _probe; }
  [[nodiscard]] const LoopBound<kj::Own<RpcConnection>>& connection() const { return _connection; }

  Outcome<void> ping(CallTimeout timeout = std::nullopt) const;
  Outcome<std::int64_t> add(std::int64_t left, std::int64_t right) const;
  [[nodiscard]] std::uint32_t cancellations() const;

  // What makes a call that is not answered.
  [[nodiscard]] auto hanging(bool cancellable = false) const {
    return [probe = _probe, cancellable] {
      auto request = probe.get().hangRequest();
      request.setCancellable(cancellable);
      return request.send().ignoreResult();
    };
  }

 private:
  EventLoop& _loop;
  LoopBound<kj::Own<RpcConnection>> _connection;
  LoopBound<probe::Probe::Client> _probe;
};

}  // namespace tessera
