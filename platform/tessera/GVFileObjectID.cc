#include "platform/tessera/GVFileObjectID.h"

#include <cstring>

namespace tessera {
namespace {

constexpr std::size_t kTextLength = 36;
constexpr std::string_view kHexDigits = "0123456789abcdef";

// Dashes stand before bytes 4, 6, 8 and 10.
constexpr bool dashBefore(std::size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

std::optional<std::uint8_t> hexValue(char digit) {
  const std::size_t value = kHexDigits.find(digit);
  if (value == std::string_view::npos) return std::nullopt;
  return static_cast<std::uint8_t>(value);
}

}  // namespace

std::optional<GVFileObjectID> GVFileObjectID::fileObjectIDWithString(std::string_view string) {
  if (string.size() != kTextLength) return std::nullopt;
  Bytes bytes{};
  std::size_t at = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (dashBefore(i) && string[at++] != '-') return std::nullopt;
    const auto high = hexValue(string[at]);
    const auto low = hexValue(string[at + 1]);
    if (!high || !low) return std::nullopt;
    bytes[i] = static_cast<std::uint8_t>(*high << 4 | *low);
    at += 2;
  }
  return GVFileObjectID(bytes);
}

std::string GVFileObjectID::asString() const {
  std::string text;
  text.reserve(kTextLength);
  for (std::size_t i = 0; i < _bytes.size(); ++i) {
    if (dashBefore(i)) text += '-';
    text += kHexDigits[_bytes[i] >> 4];
    text += kHexDigits[_bytes[i] & 0xf];
  }
  return text;
}

}  // namespace tessera

// The identifiers are random: any eight of their bytes serve.
std::size_t std::hash<tessera::GVFileObjectID>::operator()(
    const tessera::GVFileObjectID& identifier) const noexcept {
  std::size_t value = 0;
  std::memcpy(&value, identifier.bytes().data() + 8, sizeof value);
  return value;
}
