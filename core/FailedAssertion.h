#pragma once

namespace tessera {

// Says in the log, at fault level, that something which ought to hold does not, and goes
// on: a request in flight is worth more than the process's being right about itself.
void gv_assert(bool holds, const char* condition);

}  // namespace tessera
