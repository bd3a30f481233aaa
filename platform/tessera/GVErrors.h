#pragma once

#include <cstdint>
#include <string>

#include "platform/foundation/NSError.h"

namespace tessera {

// The client library's own error domain.
inline constexpr const char* GVTesseraErrorDomain = "GVTesseraErrorDomain";

enum GVTesseraErrorCode : std::int64_t {
  GVTesseraErrorUnknown = 1,
  GVTesseraErrorLoggedOut = 2,
  GVTesseraErrorDaemonNotResponding = 3,  // the daemon is down, or does not answer
  GVTesseraErrorAccountMismatch = 4,      // the tree belongs to another account
  GVTesseraErrorCorruptContent = 5,       // content from the cloud is not what its record says
  GVTesseraErrorNewerVersion = 6,         // data written by a newer version
};

// gvc_errorLoggedOut: nobody is signed in.
[[nodiscard]] NSErrorPtr gvc_errorLoggedOut();
// gv_errorWithPOSIXCode:description:
[[nodiscard]] NSErrorPtr gv_errorWithPOSIXCode(std::int64_t code, std::string description);

}  // namespace tessera
