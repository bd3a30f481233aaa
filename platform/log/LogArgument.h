#pragma once

#include <cstdint>
#include <type_traits>

#include "platform/log/LogDescription.h"

namespace tessera {

// What kind of value an argument of a log line is, and so which conversions may print it.
enum class LogArgumentKind : std::uint8_t {
  Unprintable,
  UnsignedLong,      // %llx %llu %lu
  UnsignedLongLong,  // %llx %llu
  SignedLong,        // %lld
  Int,               // %d
  Double,            // %.Nf
  CString,           // %s
  Object,            // %@
};

// The kind of an argument of type T, decided when the program is compiled.
template <class T>
[[nodiscard]] consteval LogArgumentKind logArgumentKind() {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (std::is_same_v<Plain, unsigned long>) {
    return LogArgumentKind::UnsignedLong;
  } else if constexpr (std::is_same_v<Plain, unsigned long long>) {
    return LogArgumentKind::UnsignedLongLong;
  } else if constexpr (std::is_same_v<Plain, long> || std::is_same_v<Plain, long long>) {
    return LogArgumentKind::SignedLong;
  } else if constexpr (std::is_same_v<Plain, int>) {
    return LogArgumentKind::Int;
  } else if constexpr (std::is_same_v<Plain, double>) {
    return LogArgumentKind::Double;
  } else if constexpr (std::is_same_v<std::decay_t<T>, const char*> ||
                       std::is_same_v<std::decay_t<T>, char*>) {
    return LogArgumentKind::CString;
  } else if constexpr (LogDescription<Plain>::kPrintable) {
    return LogArgumentKind::Object;
  } else {
    return LogArgumentKind::Unprintable;
  }
}

// A reference to one argument of a log line, whatever its type: two words and a tag,
// nothing is copied or allocated.
//
// Lifetime: that of the argument; it stands on the stack of the call that logs.
class LogArgument {
 public:
  template <class T>
  explicit LogArgument(const T& value) noexcept : _kind(logArgumentKind<T>()) {
    if constexpr (logArgumentKind<T>() == LogArgumentKind::Double) {
      _value.real = value;
    } else if constexpr (std::is_integral_v<T>) {
      _value.bits = static_cast<std::uint64_t>(value);
    } else if constexpr (logArgumentKind<T>() == LogArgumentKind::CString) {
      _value.text = value;
    } else {
      _value.object = &value;
      _describe = [](const void* object, TextSink& sink) {
        LogDescription<T>::describe(*static_cast<const T*>(object), sink);
      };
    }
  }

  [[nodiscard]] LogArgumentKind kind() const noexcept { return _kind; }
  [[nodiscard]] std::uint64_t bits() const noexcept { return _value.bits; }
  [[nodiscard]] double real() const noexcept { return _value.real; }
  // nullptr is possible.
  [[nodiscard]] const char* text() const noexcept { return _value.text; }
  // For kind Object alone.
  void describe(TextSink& sink) const { _describe(_value.object, sink); }

 private:
  union {
    std::uint64_t bits;
    double real;
    const char* text;
    const void* object;
  } _value;
  void (*_describe)(const void*, TextSink&) = nullptr;
  LogArgumentKind _kind;
};

}  // namespace tessera
