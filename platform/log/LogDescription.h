#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/foundation/NSObject.h"

namespace tessera {

class TextSink;

// How "%@" prints an object of type T. Specialised below for each type that it knows:
// texts, dates, the platform's objects, optionals and lists of these, and numbers that
// may be nil.
template <class T>
struct LogDescription {
  static constexpr bool kPrintable = false;
};

namespace log_description {
using Date = std::chrono::sys_time<std::chrono::nanoseconds>;

void appendNil(TextSink& sink);  // "(null)"
void append(TextSink& sink, std::string_view text);
void append(TextSink& sink, std::int64_t number);
// "2024-02-29 13:05:09 +0000": a date prints without fractions, in UTC.
void append(TextSink& sink, Date date);
void append(TextSink& sink, const NSObject* object);  // nil is possible
[[nodiscard]] bool isFull(const TextSink& sink);
}  // namespace log_description

template <>
struct LogDescription<std::string> {
  static constexpr bool kPrintable = true;
  static void describe(const std::string& text, TextSink& sink) {
    log_description::append(sink, std::string_view(text));
  }
};

template <>
struct LogDescription<std::string_view> {
  static constexpr bool kPrintable = true;
  static void describe(std::string_view text, TextSink& sink) {
    log_description::append(sink, text);
  }
};

// A number that may be nil; plain numbers have conversions of their own.
template <>
struct LogDescription<std::optional<std::int64_t>> {
  static constexpr bool kPrintable = true;
  static void describe(const std::optional<std::int64_t>& number, TextSink& sink) {
    number ? log_description::append(sink, *number) : log_description::appendNil(sink);
  }
};

template <>
struct LogDescription<log_description::Date> {
  static constexpr bool kPrintable = true;
  static void describe(log_description::Date date, TextSink& sink) {
    log_description::append(sink, date);
  }
};

template <class T>
requires(LogDescription<T>::kPrintable) struct LogDescription<std::optional<T>> {
  static constexpr bool kPrintable = true;
  static void describe(const std::optional<T>& value, TextSink& sink) {
    value ? LogDescription<T>::describe(*value, sink) : log_description::appendNil(sink);
  }
};

template <class T>
requires(
    std::is_base_of_v<NSObject, std::remove_cv_t<T>>) struct LogDescription<std::shared_ptr<T>> {
  static constexpr bool kPrintable = true;
  static void describe(const std::shared_ptr<T>& object, TextSink& sink) {
    log_description::append(sink, static_cast<const NSObject*>(object.get()));
  }
};

// A list prints one element a line:
//   (
//       first,
//       second
//   )
// It is not walked further than the text that is kept.
template <class T>
requires(LogDescription<T>::kPrintable) struct LogDescription<std::vector<T>> {
  static constexpr bool kPrintable = true;
  static void describe(const std::vector<T>& list, TextSink& sink) {
    using log_description::append;
    append(sink, std::string_view("(\n"));
    std::size_t left = list.size();
    for (const T& element : list) {
      if (log_description::isFull(sink)) return;
      append(sink, std::string_view("    "));
      LogDescription<T>::describe(element, sink);
      append(sink, std::string_view(--left > 0 ? ",\n" : "\n"));
    }
    append(sink, std::string_view(")"));
  }
};

}  // namespace tessera
