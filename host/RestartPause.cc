#include "host/RestartPause.h"

#include <algorithm>

namespace tessera {

kj::Duration RestartPause::after(kj::Duration lived) {
  if (lived >= kLongRun) _next = 0 * kj::SECONDS;
  const kj::Duration pause = _next;
  _next = pause == 0 * kj::SECONDS ? kFirst : std::min(pause * 2, kLongest);
  return pause;
}

}  // namespace tessera
