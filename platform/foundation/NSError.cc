#include "platform/foundation/NSError.h"

#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

void append(TextSink& sink, const NSErrorUserInfoValue& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    sink.append(*text);
  } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
    sink.append(std::to_string(*number));
  } else if (const auto& object = std::get<NSObjectPtr>(value); !object) {
    sink.append("(null)");
  } else if (dynamic_cast<const NSError*>(object.get()) == nullptr) {
    object->describe(sink);
  } else {
    sink.append("{");
    object->describe(sink);
    sink.append("}");
  }
}

}  // namespace

NSErrorPtr NSError::errorWithDomain(std::string domain, std::int64_t code,
                                    NSErrorUserInfo userInfo) {
  return std::make_shared<const NSError>(std::move(domain), code, std::move(userInfo));
}

NSErrorPtr NSError::underlyingError() const {
  const auto entry = _userInfo.find(NSUnderlyingErrorKey);
  if (entry == _userInfo.end()) return nullptr;
  const auto* object = std::get_if<NSObjectPtr>(&entry->second);
  return object != nullptr ? std::dynamic_pointer_cast<const NSError>(*object) : nullptr;
}

std::string NSError::localizedDescription() const {
  const auto entry = _userInfo.find(NSLocalizedDescriptionKey);
  if (entry != _userInfo.end()) {
    if (const auto* text = std::get_if<std::string>(&entry->second)) return *text;
  }
  return "The operation couldn’t be completed. (" + _domain + " error " + std::to_string(_code) +
         ".)";
}

void NSError::describe(TextSink& sink) const {
  sink.append("Error Domain=" + _domain + " Code=" + std::to_string(_code) + " \"");
  const auto description = _userInfo.find(NSLocalizedDescriptionKey);
  if (description == _userInfo.end()) {
    sink.append("(null)");
  } else {
    append(sink, description->second);
  }
  sink.append("\"");
  if (_userInfo.empty()) return;
  sink.append(" UserInfo={");
  const char* separator = "";
  for (const auto& [key, value] : _userInfo) {
    if (sink.full()) return;
    sink.append(separator);
    sink.append(key);
    sink.append("=");
    append(sink, value);
    separator = ", ";
  }
  sink.append("}");
}

}  // namespace tessera
