#include "cloud/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace tessera {

namespace {

// The length of the well-formed sequence at the front of `text`, 0 if there is none.
// The bounds of the second byte are those of RFC 3629, section 4: they shut out
// overlong forms, surrogates and what lies beyond U+10FFFF.
std::size_t sequenceLength(std::string_view text) {
  auto byte = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
  std::uint8_t lead = byte(0);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  std::uint8_t low = 0x80;
  std::uint8_t high = 0xbf;
  if (lead >= 0xc2 && lead <= 0xdf) {
    length = 2;
  } else if (lead >= 0xe0 && lead <= 0xef) {
    length = 3;
    if (lead == 0xe0) low = 0xa0;
    if (lead == 0xed) high = 0x9f;
  } else if (lead >= 0xf0 && lead <= 0xf4) {
    length = 4;
    if (lead == 0xf0) low = 0x90;
    if (lead == 0xf4) high = 0x8f;
  }
  if (length == 0 || text.size() < length) return 0;
  if (byte(1) < low || byte(1) > high) return 0;
  for (std::size_t index = 2; index < length; ++index) {
    if (byte(index) < 0x80 || byte(index) > 0xbf) return 0;
  }
  return length;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  while (!text.empty()) {
    std::size_t length = sequenceLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace tessera
