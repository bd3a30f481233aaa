#pragma once

#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <kj/timer.h>

#include "host/HostLog.h"

namespace tessera {

// What everything in the host works with: its one event loop and its log. Outlives them.
struct HostLoop {
  kj::LowLevelAsyncIoProvider& io;
  kj::UnixEventPort& port;
  kj::Timer& timer;
  HostLog& log;
};

}  // namespace tessera
