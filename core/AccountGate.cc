#include "core/CallerError.h"
#include "core/GVFPAdditions.h"
#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVAccount.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {

// Asks the client library every time, so that signing in and out count from the next call.
bool GVFileProviderExtension::_isLoggedInOrError(NSErrorPtr* error) {
  constexpr const char* kMethod = "-[GVFileProviderExtension _isLoggedInOrError:]";
  NSErrorPtr accountError;
  const GVAccountPtr account = GVAccount::currentLoggedInAccountWithError(&accountError);
  if (accountError) {
    gv_handErrorToCaller(kMethod, gv_fileProviderError(accountError), error);
    return false;
  }
  if (account && account->perAppAccountIdentifier()) return true;
  gv_handErrorToCaller(
      kMethod,
      NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorNotAuthenticated,
                               {{NSUnderlyingErrorKey, NSObjectPtr(gvc_errorLoggedOut())}}),
      error);
  return false;
}

}  // namespace tessera
