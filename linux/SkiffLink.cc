#include "linux/SkiffLink.h"

#include <system_error>

#include "linux/SkiffFailure.h"
#include "rpc/UnixConnect.h"

namespace tessera {
namespace {

kj::Exception notRunning() {
  return KJ_EXCEPTION(DISCONNECTED, kSkiffNotRunning);
}

// Nobody there yet, nobody there any more, or one who has not begun to accept.
bool mayComeUp(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::connection_refused ||
         error == std::errc::resource_unavailable_try_again;
}

}  // namespace

kj::Promise<kj::Own<SkiffSession>> SkiffLink::session() {
  if (_closed) return notRunning();
  KJ_IF_MAYBE (session, _session) {
    if ((*session)->isOpen()) return kj::addRef(**session);
  }
  if (!_connecting) _attempt = startConnecting();
  // Whoever waited takes what came of it, even if that has ended again: the call fails then.
  return _attempt.addBranch().then([this] { return kj::addRef(*KJ_ASSERT_NONNULL(_session)); });
}

kj::ForkedPromise<void> SkiffLink::startConnecting() {
  _connecting = true;
  return connect(_loop.timer().now() + _patience.connecting.count() * kj::NANOSECONDS)
      .then([this] { _connecting = false; },
            [this](kj::Exception&& failure) {
              _connecting = false;
              kj::throwRecoverableException(kj::mv(failure));
            })
      .fork();
}

kj::Promise<void> SkiffLink::connect(kj::TimePoint giveUp) {
  if (_closed) return notRunning();
  std::error_code error;
  auto socket = connectUnix(_socket, error);
  if (!error) {
    _session = kj::refcounted<SkiffSession>(_loop, kj::mv(socket), _patience);
    return kj::READY_NOW;
  }
  if (!mayComeUp(error) || _loop.timer().now() >= giveUp) return notRunning();
  const auto pause = _patience.betweenAttempts.count() * kj::NANOSECONDS;
  return _loop.timer().afterDelay(pause).then([this, giveUp] { return connect(giveUp); });
}

void SkiffLink::close() {
  _closed = true;
  KJ_IF_MAYBE (session, _session) {
    (*session)->close();
  }
}

}  // namespace tessera
