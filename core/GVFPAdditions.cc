#include "core/GVFPAdditions.h"

#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

struct Translation {
  const char* domain;
  std::int64_t code;
  std::int64_t fileProviderCode;
};

constexpr Translation kTranslations[] = {
    {NSCocoaErrorDomain, NSUbiquitousFileNotUploadedDueToQuotaError,
     NSFileProviderErrorInsufficientQuota},
    {NSCocoaErrorDomain, NSUbiquitousFileUbiquityServerNotAvailable,
     NSFileProviderErrorServerUnreachable},
    {GVTesseraErrorDomain, GVTesseraErrorLoggedOut, NSFileProviderErrorNotAuthenticated},
};

}  // namespace

bool _gv_getFileProviderDomainErrorCode(const NSErrorPtr& error, std::int64_t* code) {
  if (!error) return false;
  for (const Translation& translation : kTranslations) {
    if (error->code() != translation.code || error->domain() != translation.domain) continue;
    if (code != nullptr) *code = translation.fileProviderCode;
    return true;
  }
  return false;
}

NSErrorPtr gv_fileProviderError(const NSErrorPtr& error) {
  std::int64_t code = 0;
  if (!_gv_getFileProviderDomainErrorCode(error, &code)) return error;
  return NSError::errorWithDomain(NSFileProviderErrorDomain, code,
                                  {{NSUnderlyingErrorKey, NSObjectPtr(error)}});
}

}  // namespace tessera
