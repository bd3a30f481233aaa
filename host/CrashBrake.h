#pragma once

#include <cstddef>
#include <deque>

#include <kj/time.h>

namespace tessera {

// Keeps a program that is started on demand from being started over and over: more than
// three crashes within ten seconds, and it is left alone for a second; each further time
// for twice as long, up to half a minute. A minute without a crash forgets it all.
//
// Threads: one. Pure: it is told the time.
class CrashBrake {
 public:
  static constexpr std::size_t kTolerated = 3;
  static constexpr kj::Duration kWindow = 10 * kj::SECONDS;
  static constexpr kj::Duration kFirstPause = 1 * kj::SECONDS;
  static constexpr kj::Duration kLongestPause = 30 * kj::SECONDS;
  static constexpr kj::Duration kForgotten = 60 * kj::SECONDS;

  void crashed(kj::TimePoint now);
  // How long the program is still to be left alone; zero when it may be started.
  [[nodiscard]] kj::Duration remaining(kj::TimePoint now) const;

 private:
  std::deque<kj::TimePoint> _recent;  // crashes within the window, oldest first
  kj::TimePoint _last = kj::origin<kj::TimePoint>();
  kj::TimePoint _until = kj::origin<kj::TimePoint>();
  kj::Duration _pause = kFirstPause;
};

}  // namespace tessera
