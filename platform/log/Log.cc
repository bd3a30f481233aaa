#include "platform/log/Log.h"

#include <array>
#include <charconv>
#include <string>

#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

constexpr std::size_t kUsualLine = 512;  // bytes set aside at once

void appendNumber(std::string& line, auto number, int base) {
  std::array<char, 24> digits;  // NOLINT: filled by the next line
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, base).ptr;
  line.append(digits.data(), end);
}

void appendFixed(std::string& line, double number, int precision) {
  std::array<char, 336> digits;  // NOLINT: the longest double has 309 before the point
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number,
                                 std::chars_format::fixed, precision)
                       .ptr;
  line.append(digits.data(), end);
}

void appendText(std::string& line, const char* text) {
  if (text == nullptr) {
    line += "(null)";
    return;
  }
  TextSink sink(kLogArgumentLimit);
  sink.append(text);
  line += sink.text();
}

void appendObject(std::string& line, const LogArgument& argument) {
  TextSink sink(kLogArgumentLimit);
  argument.describe(sink);
  line += sink.text();
}

void appendArgument(std::string& line, const LogConversion& conversion,
                    const LogArgument& argument) {
  switch (conversion.form) {
    case LogConversion::Hex:
      return appendNumber(line, argument.bits(), 16);
    case LogConversion::Unsigned:
    case LogConversion::Size:
      return appendNumber(line, argument.bits(), 10);
    case LogConversion::Signed:
    case LogConversion::Int:
      return appendNumber(line, static_cast<std::int64_t>(argument.bits()), 10);
    case LogConversion::Fixed:
      return appendFixed(line, argument.real(), conversion.precision);
    case LogConversion::CString:
      return appendText(line, argument.text());
    case LogConversion::Object:
      return appendObject(line, argument);
    case LogConversion::Percent:
    case LogConversion::Invalid:
      break;  // neither has an argument; the text was checked when it was compiled
  }
}

}  // namespace

void Log::attach(LogBackend* backend, std::uint8_t enabledTypes) noexcept {
  if (backend == nullptr) _enabled.store(0, std::memory_order_relaxed);
  _backend.store(backend, std::memory_order_release);
  if (backend != nullptr) _enabled.store(enabledTypes, std::memory_order_relaxed);
}

void Log::emit(LogType type, std::string_view format,
               std::initializer_list<LogArgument> arguments) const {
  LogBackend* const backend = _backend.load(std::memory_order_acquire);
  if (backend == nullptr) return;  // turned off since the type was looked at
  std::string line;
  line.reserve(kUsualLine);
  const LogArgument* argument = arguments.begin();
  std::size_t copied = 0;
  for (std::size_t at = format.find('%'); at != format.npos; at = format.find('%', copied)) {
    line += format.substr(copied, at - copied);
    const LogConversion conversion = LogConversion::parse(format.substr(at));
    if (conversion.form == LogConversion::Percent) {
      line += '%';
    } else {
      appendArgument(line, conversion, *argument++);
    }
    copied = at + conversion.length;
  }
  line += format.substr(copied);
  backend->write(_subsystem, type, line);
}

}  // namespace tessera
