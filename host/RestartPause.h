#pragma once

#include <kj/time.h>

namespace tessera {

// How long to wait before a program that ended unexpectedly is started again: not at all
// the first time, then half a second, doubling up to half a minute. A run of a minute or
// more makes the next end a first one.
//
// Threads: one. Pure: it is told how long the program lived.
class RestartPause {
 public:
  static constexpr kj::Duration kFirst = 500 * kj::MILLISECONDS;
  static constexpr kj::Duration kLongest = 30 * kj::SECONDS;
  static constexpr kj::Duration kLongRun = 60 * kj::SECONDS;

  // To be called once an end.
  [[nodiscard]] kj::Duration after(kj::Duration lived);

 private:
  kj::Duration _next = 0 * kj::SECONDS;
};

}  // namespace tessera
