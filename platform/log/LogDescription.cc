#include "platform/log/LogDescription.h"

#include <array>
#include <cstdio>

#include "platform/foundation/TextSink.h"

namespace tessera::log_description {

void appendNil(TextSink& sink) {
  sink.append("(null)");
}

void append(TextSink& sink, std::string_view text) {
  sink.append(text);
}

void append(TextSink& sink, std::int64_t number) {
  sink.append(std::to_string(number));
}

void append(TextSink& sink, Date date) {
  const auto day = std::chrono::floor<std::chrono::days>(date);
  const std::chrono::year_month_day calendar(day);
  const std::chrono::hh_mm_ss time(std::chrono::floor<std::chrono::seconds>(date - day));
  std::array<char, 64> text;  // NOLINT: filled by the next line
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d +0000",
      static_cast<int>(calendar.year()), static_cast<unsigned>(calendar.month()),
      static_cast<unsigned>(calendar.day()), static_cast<int>(time.hours().count()),
      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
  sink.append(std::string_view(text.data(), static_cast<std::size_t>(length)));
}

void append(TextSink& sink, const NSObject* object) {
  object != nullptr ? object->describe(sink) : appendNil(sink);
}

bool isFull(const TextSink& sink) {
  return sink.full();
}

}  // namespace tessera::log_description
