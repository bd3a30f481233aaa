#include "platform/tessera/GVCPrettyPrintBitmap.h"

#include <charconv>

namespace tessera {

std::string GVCPrettyPrintBitmap(std::uint64_t bits, const GVCBitName* table) {
  if (bits == 0) return "0";
  std::string text;
  const auto add = [&text](std::string_view name) {
    if (!text.empty()) text += '|';
    text += name;
  };
  for (const GVCBitName* entry = table; entry->value != 0; ++entry) {
    if ((bits & entry->value) == 0) continue;
    add(entry->name);
    bits &= ~entry->value;
  }
  if (bits != 0) {
    char digits[2 + 16] = {'0', 'x'};
    const auto end = std::to_chars(digits + 2, digits + sizeof digits, bits, 16).ptr;
    add(std::string_view(digits, static_cast<std::size_t>(end - digits)));
  }
  return text;
}

}  // namespace tessera
