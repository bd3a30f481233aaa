#include "core/CallerError.h"

#include "platform/tessera/GVLog.h"

namespace tessera {

void gv_handErrorToCaller(const char* method, const NSErrorPtr& made, NSErrorPtr* error) {
  if (made) {
    const char* fate = error != nullptr ? "(passed to caller)" : "(ignored by caller)";
    gvc_default_log().error("[ERROR] %s: %s error: %@", method, fate, made);
  }
  if (error != nullptr) *error = made;
}

}  // namespace tessera
