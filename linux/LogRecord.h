#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/log/Log.h"

namespace tessera {

// One line of the log file:
//
//   2026-01-31T12:00:00.000001Z 4242 4243 debug tessera.client [DEBUG] the text
//
// time (UTC), process, thread, type (default, info, debug, error or fault), subsystem, text;
// one space between them. Control characters of the text (also those of the upper half of
// Latin-1) stand as \n, \r, \t or \xNN, so that a line stays a line and cannot drive a
// terminal; backslashes stand for themselves.
struct LogRecord {
  std::chrono::sys_time<std::chrono::microseconds> time;
  pid_t process = 0;
  pid_t thread = 0;
  LogType type = LogType::Default;
  std::string_view subsystem;
  std::string_view text;

  // With the line feed at its end.
  [[nodiscard]] std::string line() const;
};

[[nodiscard]] std::string_view logTypeName(LogType type);
// `text` with its control characters escaped.
[[nodiscard]] std::string escapedForLog(std::string_view text);

// The types of lines that are wanted, as a set of bits 1 << type: "off" none, "error" errors
// and faults, "default", "info" and "debug" each more. Without a name, or with an unknown
// one, everything.
[[nodiscard]] std::uint8_t logTypesForLevel(std::optional<std::string_view> level);

}  // namespace tessera
