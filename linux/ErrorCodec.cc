#include "linux/ErrorCodec.h"

#include <algorithm>
#include <string>

#include "linux/WireText.h"
#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSURL.h"
#include "platform/foundation/TextSink.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

constexpr std::size_t kMaxDescriptionBytes = 1024;

void encodeLevel(const NSError& error, wire::Error::Builder wire, unsigned level);

void encodeObject(const NSObjectPtr& object, wire::Error::Entry::Value::Builder value,
                  unsigned level) {
  if (const auto* error = dynamic_cast<const NSError*>(object.get())) {
    encodeLevel(*error, value.initError(), level + 1);
  } else if (const auto* url = dynamic_cast<const NSURL*>(object.get())) {
    value.setPath(url->path());
  } else if (const auto* item = dynamic_cast<const NSFileProviderItem*>(object.get())) {
    value.setIdentifier(item->itemIdentifier());
  } else {
    TextSink text(kMaxDescriptionBytes);
    object->describe(text);
    value.setText(std::string(text.text()));
  }
}

void encodeValue(const NSErrorUserInfoValue& value, wire::Error::Entry::Value::Builder wire,
                 unsigned level) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    wire.setText(*text);
  } else if (const auto* number = std::get_if<std::int64_t>(&value)) {
    wire.setNumber(*number);
  } else {
    encodeObject(std::get<NSObjectPtr>(value), wire, level);
  }
}

bool travels(const NSErrorUserInfoValue& value, unsigned level) {
  const auto* object = std::get_if<NSObjectPtr>(&value);
  if (object == nullptr) return true;
  if (!*object) return false;
  return level < kMaxErrorLevels || dynamic_cast<const NSError*>(object->get()) == nullptr;
}

void encodeLevel(const NSError& error, wire::Error::Builder wire, unsigned level) {
  // An empty domain means "no error" on the wire, and a failure must not arrive as success.
  wire.setDomain(error.domain().empty() ? std::string(GVTesseraErrorDomain) : error.domain());
  wire.setCode(error.domain().empty() ? GVTesseraErrorUnknown : error.code());
  const auto counted =
      std::count_if(error.userInfo().begin(), error.userInfo().end(),
                    [level](const auto& entry) { return travels(entry.second, level); });
  const auto count = std::min<unsigned>(static_cast<unsigned>(counted), kMaxErrorUserInfoEntries);
  auto entries = wire.initUserInfo(count);
  unsigned at = 0;
  for (const auto& [key, value] : error.userInfo()) {
    if (at == count) break;
    if (!travels(value, level)) continue;
    auto entry = entries[at++];
    entry.setKey(key);
    encodeValue(value, entry.getValue(), level);
  }
}

NSErrorPtr decodeLevel(wire::Error::Reader wire, unsigned level);

// What stands for the entry's value here; a nil object when the entry is to be left out.
NSErrorUserInfoValue decodeValue(wire::Error::Entry::Value::Reader value, unsigned level) {
  switch (value.which()) {
    case wire::Error::Entry::Value::TEXT:
      return textOf(value.getText());
    case wire::Error::Entry::Value::NUMBER:
      return value.getNumber();
    case wire::Error::Entry::Value::ERROR:
      if (level >= kMaxErrorLevels) return NSObjectPtr();
      return NSObjectPtr(decodeLevel(value.getError(), level + 1));
    case wire::Error::Entry::Value::PATH: {
      std::string path = textOf(value.getPath());
      if (!path.starts_with('/')) return path;
      return NSObjectPtr(NSURL::fileURLWithPath(path));
    }
    case wire::Error::Entry::Value::IDENTIFIER:
      return textOf(value.getIdentifier());
  }
  return NSObjectPtr();  // of a kind that a newer peer knows
}

NSErrorPtr decodeLevel(wire::Error::Reader wire, unsigned level) {
  if (wire.getDomain().size() == 0) return nullptr;
  NSErrorUserInfo userInfo;
  const auto entries = wire.getUserInfo();
  const unsigned count = std::min<unsigned>(entries.size(), kMaxErrorUserInfoEntries);
  for (unsigned i = 0; i < count; ++i) {
    NSErrorUserInfoValue value = decodeValue(entries[i].getValue(), level);
    const auto* object = std::get_if<NSObjectPtr>(&value);
    if (object != nullptr && !*object) continue;
    userInfo.insert_or_assign(textOf(entries[i].getKey()), std::move(value));
  }
  return NSError::errorWithDomain(textOf(wire.getDomain()), wire.getCode(), std::move(userInfo));
}

}  // namespace

void encodeError(const NSErrorPtr& error, wire::Error::Builder wire) {
  if (error) encodeLevel(*error, wire, 1);
}

NSErrorPtr decodeError(wire::Error::Reader wire) {
  return decodeLevel(wire, 1);
}

}  // namespace tessera
