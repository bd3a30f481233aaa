#include "core/FailedAssertion.h"

#include "platform/tessera/GVLog.h"

namespace tessera {

void gv_assert(bool holds, const char* condition) {
  if (!holds) [[unlikely]]
    gvc_default_log().fault("[CRIT] Assertion failed: %s", condition);
}

}  // namespace tessera
