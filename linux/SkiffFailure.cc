#include "linux/SkiffFailure.h"

#include <string>

#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

constexpr const char* kDebugDescriptionKey = "NSDebugDescription";

NSErrorPtr error(const char* domain, std::int64_t code, std::string description,
                 const RpcFailure& failure) {
  return NSError::errorWithDomain(
      domain, code,
      {{NSLocalizedDescriptionKey, std::move(description)}, {kDebugDescriptionKey, failure.text}});
}

}  // namespace

NSErrorPtr skiffError(const RpcFailure& failure) {
  const auto notResponding = [&failure](const char* description) {
    return error(GVTesseraErrorDomain, GVTesseraErrorDaemonNotResponding, description, failure);
  };
  switch (failure.kind) {
    case RpcFailure::Kind::Disconnected:
      if (failure.text.find(kSkiffNotRunning) != std::string::npos) {
        return notResponding(kSkiffNotRunning);
      }
      return notResponding("The connection to the sync daemon (skiff) was lost. Try again.");
    case RpcFailure::Kind::TimedOut:
      return notResponding("The sync daemon (skiff) did not answer in time. Try again.");
    case RpcFailure::Kind::Overloaded:
      return notResponding("The sync daemon (skiff) has too much to do. Try again later.");
    case RpcFailure::Kind::Cancelled:
      return error(NSCocoaErrorDomain, NSUserCancelledError, "The request was cancelled.", failure);
    case RpcFailure::Kind::Failed:
    case RpcFailure::Kind::Unimplemented:
      break;
  }
  return error(GVTesseraErrorDomain, GVTesseraErrorUnknown,
               "The sync daemon (skiff) could not answer: " + failure.text, failure);
}

}  // namespace tessera
