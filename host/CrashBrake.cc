#include "host/CrashBrake.h"

#include <algorithm>

namespace tessera {

void CrashBrake::crashed(kj::TimePoint now) {
  if (now - _last >= kForgotten) _pause = kFirstPause;
  _last = now;
  _recent.push_back(now);
  while (now - _recent.front() >= kWindow) _recent.pop_front();
  if (_recent.size() <= kTolerated) return;
  _until = now + _pause;
  _pause = std::min(_pause * 2, kLongestPause);
}

kj::Duration CrashBrake::remaining(kj::TimePoint now) const {
  return now < _until ? _until - now : 0 * kj::SECONDS;
}

}  // namespace tessera
