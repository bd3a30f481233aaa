#include "linux/LogRecord.h"

#include <array>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace tessera {
namespace {

constexpr std::uint8_t bit(LogType type) {
  return static_cast<std::uint8_t>(1U << static_cast<unsigned>(type));
}

constexpr bool isControl(unsigned char c) {
  return c < 0x20 || c == 0x7f;
}

// A control character of Latin-1's upper half (U+0080 to U+009F) in UTF-8.
constexpr bool isUpperControl(std::string_view rest) {
  return rest.size() >= 2 && static_cast<unsigned char>(rest[0]) == 0xc2 &&
         static_cast<unsigned char>(rest[1]) >= 0x80 && static_cast<unsigned char>(rest[1]) <= 0x9f;
}

void appendEscape(std::string& out, unsigned char c) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  switch (c) {
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      out += "\\x";
      out += kDigits[c >> 4U];
      out += kDigits[c & 0xfU];
  }
}

}  // namespace

std::string_view logTypeName(LogType type) {
  constexpr std::array<std::string_view, 5> kNames = {"default", "info", "debug", "error", "fault"};
  return kNames[static_cast<std::size_t>(type)];
}

std::string escapedForLog(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto c = static_cast<unsigned char>(text[at]);
    if (isControl(c)) {
      appendEscape(out, c);
    } else if (isUpperControl(text.substr(at))) {
      appendEscape(out, static_cast<unsigned char>(text[++at]));
    } else {
      out += text[at];
    }
  }
  return out;
}

std::string LogRecord::line() const {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:06}Z {} {} {} {} {}\n",
                     fmt::gmtime(std::chrono::system_clock::to_time_t(seconds)),
                     (time - seconds).count(), process, thread, logTypeName(type), subsystem,
                     escapedForLog(text));
}

std::uint8_t logTypesForLevel(std::optional<std::string_view> level) {
  if (level == "off") return 0;
  const std::uint8_t errors = bit(LogType::Error) | bit(LogType::Fault);
  if (level == "error") return errors;
  const std::uint8_t defaults = errors | bit(LogType::Default);
  if (level == "default") return defaults;
  const std::uint8_t infos = defaults | bit(LogType::Info);
  if (level == "info") return infos;
  return infos | bit(LogType::Debug);
}

}  // namespace tessera
