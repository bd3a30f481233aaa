#pragma once

#include "platform/foundation/NSError.h"

namespace tessera {

// Ends a method with an error of the extension's own making: logs it with the method's
// full name and whether the caller wants to know, then stores it if so. Without an error
// there is nothing to log, and nil is stored.
void gv_handErrorToCaller(const char* method, const NSErrorPtr& made, NSErrorPtr* error);

}  // namespace tessera
