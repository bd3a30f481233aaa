#pragma once

#include <string>

#include "platform/foundation/NSError.h"

namespace tessera {

// The error of GVTesseraErrorDomain for a published text that could not be understood, for
// which the reader gave `reason`: 6 when it is of a newer format, else 1.
[[nodiscard]] NSErrorPtr publishedStateError(const std::string& text, const std::string& reason);

}  // namespace tessera
