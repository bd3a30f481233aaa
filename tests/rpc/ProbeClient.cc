#include "ProbeClient.h"

#include <utility>

namespace tessera {

ProbeClient::ProbeClient(EventLoop& loop, kj::AutoCloseFd socket) : _loop(loop) {
  const auto connected =
      callBlocking<void>(loop, [this, socket = kj::mv(socket)]() mutable -> kj::Promise<void> {
        auto owned = kj::heap<RpcConnection>(_loop.io(), _loop.timer(), kj::mv(socket),
                                             RpcConnection::Side::Client);
        auto probe = owned->bootstrapAs<probe::Probe>();
        _connection = LoopBound<kj::Own<RpcConnection>>(_loop, kj::mv(owned));
        _probe = LoopBound<probe::Probe::Client>(_loop, kj::mv(probe));
        return kj::READY_NOW;
      });
  KJ_REQUIRE(connected.ok(), "no connection to the probe's server");
}

Outcome<void> ProbeClient::ping(CallTimeout timeout) const {
  return callBlocking<void>(
      _loop, [probe = _probe] { return probe.get().pingRequest().send().ignoreResult(); }, timeout);
}

Outcome<std::int64_t> ProbeClient::add(std::int64_t left, std::int64_t right) const {
  return callBlocking<std::int64_t>(_loop, [probe = _probe, left, right] {
    auto request = probe.get().addRequest();
    request.setLeft(left);
    request.setRight(right);
    return request.send().then([](auto&& reply) { return reply.getSum(); });
  });
}

std::uint32_t ProbeClient::cancellations() const {
  return callBlocking<std::uint32_t>(_loop,
                                     [probe = _probe] {
                                       return probe.get().countsRequest().send().then(
                                           [](auto&& reply) { return reply.getCancellations(); });
                                     })
      .value();
}

}  // namespace tessera
