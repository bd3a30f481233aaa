#include "cli/Escape.h"

#include <cstdint>

#include <fmt/format.h>

namespace tessera {
namespace {

struct Decoded {
  std::uint32_t codePoint = 0;
  std::size_t length = 0;  // bytes; 0 when they are no UTF-8
};

std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xc2 && lead <= 0xdf) return 2;
  if (lead >= 0xe0 && lead <= 0xef) return 3;
  if (lead >= 0xf0 && lead <= 0xf4) return 4;
  return 0;
}

// The first character of `text`, strictly: no overlong forms, no surrogates.
Decoded decode(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = sequenceLength(lead);
  if (length == 0 || length > text.size()) return {};
  if (length == 1) return {lead, 1};
  std::uint32_t codePoint = lead & (0xffU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xc0) != 0x80) return {};
    codePoint = codePoint << 6 | (byte & 0x3fU);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = codePoint >= 0xd800 && codePoint <= 0xdfff;
  if (codePoint < kSmallest[length] || codePoint > 0x10ffff || surrogate) return {};
  return {codePoint, length};
}

bool drivesTheTerminal(std::uint32_t c) {
  return c < 0x20 || (c >= 0x7f && c <= 0x9f) || (c >= 0x202a && c <= 0x202e) ||
         (c >= 0x2066 && c <= 0x2069);
}

std::string escapeOf(std::uint32_t c) {
  switch (c) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return c < 0x100 ? fmt::format("\\x{:02x}", c) : fmt::format("\\u{:04x}", c);
  }
}

}  // namespace

std::string escaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const Decoded next = decode(text);
    if (next.length == 0) {
      out += fmt::format("\\x{:02x}", static_cast<unsigned char>(text.front()));
      text.remove_prefix(1);
      continue;
    }
    if (drivesTheTerminal(next.codePoint)) {
      out += escapeOf(next.codePoint);
    } else if (next.codePoint == '\\') {
      out += "\\\\";
    } else {
      out += text.substr(0, next.length);
    }
    text.remove_prefix(next.length);
  }
  return out;
}

}  // namespace tessera
