#include "linux/PublishedStateError.h"

#include <nlohmann/json.hpp>

#include "home/PublishedState.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

// 0 when the text does not say.
std::int64_t formatOf(const std::string& text) {
  const auto json = nlohmann::json::parse(text, nullptr, false);
  if (!json.is_object()) return 0;
  const auto format = json.find("format");
  return format != json.end() && format->is_number_integer() ? format->get<std::int64_t>() : 0;
}

}  // namespace

NSErrorPtr publishedStateError(const std::string& text, const std::string& reason) {
  const bool newer = formatOf(text) > formatOf(PublishedAccount{}.toJson());
  return NSError::errorWithDomain(GVTesseraErrorDomain,
                                  newer ? GVTesseraErrorNewerVersion : GVTesseraErrorUnknown,
                                  {{NSLocalizedDescriptionKey, reason}});
}

}  // namespace tessera
