#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/log/LogArgument.h"

namespace tessera {

// One conversion of a log text, "%…".
struct LogConversion {
  enum Form : std::uint8_t {
    Invalid,   // no conversion that there is
    Percent,   // %%
    Hex,       // %llx
    Unsigned,  // %llu
    Size,      // %lu
    Signed,    // %lld
    Int,       // %d
    CString,   // %s
    Object,    // %@
    Fixed,     // %.Nf with one digit N
  };
  Form form;
  std::size_t length;  // of its text
  int precision;       // of Fixed

  // The conversion that `text` begins with; `text` begins with "%".
  [[nodiscard]] static constexpr LogConversion parse(std::string_view text) noexcept {
    constexpr struct {
      std::string_view text;
      Form form;
    } kTable[] = {{"%%", Percent},  {"%llx", Hex}, {"%llu", Unsigned}, {"%lu", Size},
                  {"%lld", Signed}, {"%d", Int},   {"%s", CString},    {"%@", Object}};
    for (const auto& entry : kTable) {
      if (text.starts_with(entry.text)) return {entry.form, entry.text.size(), 0};
    }
    if (text.size() >= 4 && text[1] == '.' && text[2] >= '0' && text[2] <= '9' && text[3] == 'f')
      return {Fixed, 4, text[2] - '0'};
    return {Invalid, 1, 0};
  }

  [[nodiscard]] static constexpr bool prints(Form form, LogArgumentKind kind) noexcept {
    using Kind = LogArgumentKind;
    switch (form) {
      case Hex:
      case Unsigned:
        return kind == Kind::UnsignedLong || kind == Kind::UnsignedLongLong;
      case Size:
        return kind == Kind::UnsignedLong;
      case Signed:
        return kind == Kind::SignedLong;
      case Int:
        return kind == Kind::Int;
      case CString:
        return kind == Kind::CString;
      case Object:
        return kind == Kind::Object;
      case Fixed:
        return kind == Kind::Double;
      case Percent:
      case Invalid:
        break;
    }
    return false;
  }
};

// The names say what is wrong with a log text: a call to one of these where the text is
// checked does not compile. They are defined nowhere.
void logTextHasAnUnknownConversion();
void logTextHasMoreConversionsThanArguments();
void logTextHasFewerConversionsThanArguments();
void logArgumentHasAnotherTypeThanItsConversion();

// The text of a log line, checked against the types of the line's arguments while the
// program is compiled. Threads: immutable. Lifetime: the text is a literal.
template <class... A>
class LogFormat {
 public:
  // Takes a string literal implicitly, as log lines are written.
  template <std::size_t N>
  consteval LogFormat(const char (&text)[N])  // NOLINT(google-explicit-constructor)
      : _text(text, N - 1) {
    check(_text);
  }

  [[nodiscard]] constexpr std::string_view text() const noexcept { return _text; }

 private:
  static consteval void check(std::string_view text) {
    constexpr std::array<LogArgumentKind, sizeof...(A)> kinds{logArgumentKind<A>()...};
    std::size_t argument = 0;
    for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at)) {
      const LogConversion conversion = LogConversion::parse(text.substr(at));
      at += conversion.length;
      if (conversion.form == LogConversion::Percent) continue;
      if (conversion.form == LogConversion::Invalid) logTextHasAnUnknownConversion();
      if (argument == kinds.size()) logTextHasMoreConversionsThanArguments();
      if (!LogConversion::prints(conversion.form, kinds[argument]))
        logArgumentHasAnotherTypeThanItsConversion();
      ++argument;
    }
    if (argument != kinds.size()) logTextHasFewerConversionsThanArguments();
  }

  std::string_view _text;
};

}  // namespace tessera
