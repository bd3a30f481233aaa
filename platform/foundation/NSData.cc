#include "platform/foundation/NSData.h"

#include <string>

#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

// Longer data is printed by its two ends.
constexpr std::size_t kPrintedWhole = 24;
constexpr std::size_t kPrintedHead = 16;
constexpr std::size_t kPrintedTail = 8;

void appendHex(std::string& text, std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
}

}  // namespace

NSDataPtr NSData::dataWithBytes(std::span<const std::uint8_t> bytes) {
  return std::make_shared<const NSData>(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

NSDataPtr NSData::dataWithText(std::string_view text) {
  return std::make_shared<const NSData>(std::vector<std::uint8_t>(text.begin(), text.end()));
}

void NSData::describe(TextSink& sink) const {
  std::string text = "{length = " + std::to_string(_bytes.size()) + ", bytes = 0x";
  const std::span<const std::uint8_t> all(_bytes);
  if (all.size() <= kPrintedWhole) {
    appendHex(text, all);
  } else {
    appendHex(text, all.first(kPrintedHead));
    text += " ... ";
    appendHex(text, all.last(kPrintedTail));
  }
  text += '}';
  sink.append(text);
}

}  // namespace tessera
