#include "rpc/LivenessGuard.h"

#include <kj/debug.h>

namespace tessera {

LivenessGuard::LivenessGuard(RpcConnection& connection, kj::Timer& timer, kj::Duration interval,
                             kj::Duration patience, Ping ping)
    : _connection(connection),
      _timer(timer),
      _interval(interval),
      _patience(patience),
      _ping(kj::mv(ping)),
      _calls(kj::refcounted<Calls>()) {}

LivenessGuard::~LivenessGuard() noexcept(false) = default;

void LivenessGuard::callStarted() {
  ++_calls->count;
  if (_probing) return;
  _probing = true;
  _probe = probe().eagerlyEvaluate(
      [](kj::Exception&& failure) { KJ_LOG(ERROR, "a peer is not watched any more", failure); });
}

kj::Promise<void> LivenessGuard::probe() {
  return _timer.afterDelay(_interval).then([this]() -> kj::Promise<void> {
    if (callsInFlight() == 0) {
      _probing = false;
      return kj::READY_NOW;
    }
    return pingOnce().then([this] { return probe(); });
  });
}

kj::Promise<void> LivenessGuard::pingOnce() {
  auto answered = kj::evalNow([this] { return _ping(); }).catch_([](kj::Exception&&) {});
  auto tooLate = _timer.afterDelay(_patience).then([this] {
    if (callsInFlight() == 0) return;
    KJ_LOG(WARNING, "connection dropped: the peer does not answer");
    _connection.close();
  });
  return answered.exclusiveJoin(kj::mv(tooLate));
}

}  // namespace tessera
