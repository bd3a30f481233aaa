#include "platform/tessera/GVErrors.h"

namespace tessera {

NSErrorPtr gvc_errorLoggedOut() {
  return NSError::errorWithDomain(
      GVTesseraErrorDomain, GVTesseraErrorLoggedOut,
      {{NSLocalizedDescriptionKey, std::string("Nobody is signed in.")}});
}

NSErrorPtr gv_errorWithPOSIXCode(std::int64_t code, std::string description) {
  return NSError::errorWithDomain(NSPOSIXErrorDomain, code,
                                  {{NSLocalizedDescriptionKey, std::move(description)}});
}

}  // namespace tessera
