#include "host/HostError.h"

#include <fmt/format.h>

namespace tessera {
namespace {

constexpr const char* kCocoaDomain = "NSCocoaErrorDomain";
constexpr const char* kFileProviderDomain = "NSFileProviderErrorDomain";
constexpr std::int64_t kFileNoSuchFile = 4;
constexpr std::int64_t kConnectionInterrupted = 4097;
constexpr std::int64_t kConnectionInvalid = 4099;
constexpr std::int64_t kConnectionReplyInvalid = 4101;
constexpr std::int64_t kNoSuchItem = -1005;

}  // namespace

void HostError::encode(wire::Error::Builder wire) const {
  wire.setDomain(domain);
  wire.setCode(code);
  auto entries = wire.initUserInfo(path.empty() ? 1 : 2);
  entries[0].setKey("NSLocalizedDescription");
  entries[0].getValue().setText(description);
  if (path.empty()) return;
  entries[1].setKey("NSFilePath");
  entries[1].getValue().setText(path);
}

HostError HostError::of(const kj::Exception& failure) {
  switch (failure.getType()) {
    case kj::Exception::Type::DISCONNECTED:
      return {kCocoaDomain,
              kConnectionInterrupted,
              "The file provider extension ended unexpectedly. Try again; it is started anew.",
              {}};
    case kj::Exception::Type::OVERLOADED:
      return {kCocoaDomain,
              kConnectionInterrupted,
              "The file provider extension has too much to do. Try again in a moment.",
              {}};
    case kj::Exception::Type::UNIMPLEMENTED:
    case kj::Exception::Type::FAILED:
      break;
  }
  return {kCocoaDomain,
          kConnectionReplyInvalid,
          fmt::format("The file provider extension could not answer the request: {}",
                      failure.getDescription().cStr()),
          {}};
}

HostError HostError::extensionKeepsEnding(kj::Duration pause) {
  const auto seconds = (pause + 999 * kj::MILLISECONDS) / kj::SECONDS;
  return {kCocoaDomain,
          kConnectionInvalid,
          fmt::format("The file provider extension keeps ending unexpectedly. It is not started "
                      "again before {} s have passed; its log (tessera log) may say why.",
                      seconds),
          {}};
}

HostError HostError::extensionCannotBeStarted(const std::string& reason) {
  return {kCocoaDomain,
          kConnectionInvalid,
          fmt::format("The file provider extension cannot be started: {}.", reason),
          {}};
}

HostError HostError::stopping() {
  return {kCocoaDomain, kConnectionInvalid, "The instance is being taken down.", {}};
}

HostError HostError::noItemAtPath(const std::string& path) {
  return {kCocoaDomain, kFileNoSuchFile, fmt::format("There is no item at {}.", path), path};
}

HostError HostError::noItem(const std::string& identifier) {
  return {kFileProviderDomain,
          kNoSuchItem,
          fmt::format("There is no item with the identifier {}.", identifier),
          {}};
}

}  // namespace tessera
