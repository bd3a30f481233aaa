#pragma once

#include "platform/foundation/NSError.h"
#include "protocol/error.capnp.h"

namespace tessera {

// Errors as they travel between processes. Domain, code, user info and underlying errors
// arrive; identity does not. At most eight levels of underlying errors and
// kMaxErrorUserInfoEntries entries a level are written and read, what is more is left out.
//
// Of the objects in the user info, errors, URLs and items (by their identifier) travel as
// such, anything else as the text that it prints.
inline constexpr unsigned kMaxErrorLevels = 8;
inline constexpr unsigned kMaxErrorUserInfoEntries = 64;

// nil leaves `wire` as it is: no error.
void encodeError(const NSErrorPtr& error, wire::Error::Builder wire);
// nil for no error. An item comes back as its identifier.
[[nodiscard]] NSErrorPtr decodeError(wire::Error::Reader wire);

}  // namespace tessera
