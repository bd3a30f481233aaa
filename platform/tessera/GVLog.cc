#include "platform/tessera/GVLog.h"

namespace tessera {

Log& gvc_default_log() noexcept {
  static constinit Log log("tessera.client");
  return log;
}

}  // namespace tessera
