#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "platform/foundation/NSObject.h"

namespace tessera {

class NSError;
using NSErrorPtr = std::shared_ptr<const NSError>;

using NSErrorUserInfoValue = std::variant<std::string, std::int64_t, NSObjectPtr>;
using NSErrorUserInfo = std::map<std::string, NSErrorUserInfoValue>;

inline constexpr const char* NSUnderlyingErrorKey = "NSUnderlyingError";
inline constexpr const char* NSLocalizedDescriptionKey = "NSLocalizedDescription";
inline constexpr const char* NSFilePathErrorKey = "NSFilePath";
inline constexpr const char* NSURLErrorKey = "NSURL";

inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr const char* NSPOSIXErrorDomain = "NSPOSIXErrorDomain";

// Codes of NSCocoaErrorDomain that this system gives or tests for.
enum NSCocoaErrorCode : std::int64_t {
  NSFileNoSuchFileError = 4,
  NSFileReadUnknownError = 256,
  NSFileReadNoPermissionError = 257,
  NSFileReadNoSuchFileError = 260,
  NSFileWriteUnknownError = 512,
  NSFileWriteNoPermissionError = 513,
  NSFileWriteFileExistsError = 516,
  NSFileWriteOutOfSpaceError = 640,
  NSUserCancelledError = 3072,
  NSXPCConnectionInterrupted = 4097,
  NSXPCConnectionInvalid = 4099,
  NSUbiquitousFileUnavailableError = 4353,
  NSUbiquitousFileNotUploadedDueToQuotaError = 4354,
  NSUbiquitousFileUbiquityServerNotAvailable = 4355,
};

// Why something failed: a domain, a code in it, and a dictionary of extra
// information. Errors have identity: passing one on passes the same object.
//
// Threads: immutable.
class NSError final : public NSObject {
 public:
  NSError(std::string domain, std::int64_t code, NSErrorUserInfo userInfo = {})
      : _domain(std::move(domain)), _code(code), _userInfo(std::move(userInfo)) {}

  // errorWithDomain:code:userInfo:
  [[nodiscard]] static NSErrorPtr errorWithDomain(std::string domain, std::int64_t code,
                                                  NSErrorUserInfo userInfo = {});

  [[nodiscard]] const std::string& domain() const noexcept { return _domain; }
  [[nodiscard]] std::int64_t code() const noexcept { return _code; }
  [[nodiscard]] const NSErrorUserInfo& userInfo() const noexcept { return _userInfo; }

  // The error under NSUnderlyingErrorKey, nil if there is none.
  [[nodiscard]] NSErrorPtr underlyingError() const;
  // The text under NSLocalizedDescriptionKey; a text made of domain and code without one.
  [[nodiscard]] std::string localizedDescription() const;

  void describe(TextSink& sink) const override;

 private:
  const std::string _domain;
  const std::int64_t _code;
  const NSErrorUserInfo _userInfo;
};

}  // namespace tessera
