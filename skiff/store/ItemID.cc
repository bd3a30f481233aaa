#include "skiff/store/ItemID.h"

#include <uuid/uuid.h>

#include <algorithm>

#include "skiff/store/ContentHash.h"

namespace tessera {

namespace {

std::optional<std::uint8_t> digitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  return std::nullopt;
}

bool isHyphenPlace(std::size_t index) {
  return index == 8 || index == 13 || index == 18 || index == 23;
}

}  // namespace

std::optional<ItemID> ItemID::fromBytes(std::span<const std::uint8_t> bytes) {
  Bytes copy;
  if (bytes.size() != copy.size()) return std::nullopt;
  std::copy(bytes.begin(), bytes.end(), copy.begin());
  return ItemID(copy);
}

std::optional<ItemID> ItemID::fromString(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  Bytes bytes{};
  std::size_t nibbles = 0;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (isHyphenPlace(index)) {
      if (text[index] != '-') return std::nullopt;
      continue;
    }
    std::optional<std::uint8_t> value = digitValue(text[index]);
    if (!value) return std::nullopt;
    std::uint8_t& byte = bytes[nibbles / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | *value);
    ++nibbles;
  }
  return ItemID(bytes);
}

ItemID ItemID::random() {
  Bytes bytes;
  uuid_generate_random(bytes.data());
  return ItemID(bytes);
}

ItemID ItemID::derived(std::string_view seed) {
  ContentHash::Digest digest = ContentHash::of(seed);
  Bytes bytes;
  std::copy_n(digest.begin(), bytes.size(), bytes.begin());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0f) | 0x80);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3f) | 0x80);
  return ItemID(bytes);
}

std::string ItemID::toString() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(36);
  for (std::size_t index = 0; index < _bytes.size(); ++index) {
    if (isHyphenPlace(text.size())) text.push_back('-');
    text.push_back(kDigits[_bytes[index] >> 4]);
    text.push_back(kDigits[_bytes[index] & 15]);
  }
  return text;
}

}  // namespace tessera
