#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tessera {

// A line of the extension's log file: "TIME PROCESS THREAD TYPE SUBSYSTEM TEXT", the text
// with its control characters escaped already.
struct LogLine {
  std::string_view time;
  std::string_view process;
  std::string_view thread;
  std::string_view type;
  std::string_view subsystem;
  std::string_view text;

  // nullopt for what is no such line. The views are into `line`.
  [[nodiscard]] static std::optional<LogLine> parse(std::string_view line);
};

// How much is shown: 0 error (and fault), 1 default, 2 info, 3 debug. nullopt for a name
// that is none of these.
[[nodiscard]] std::optional<int> logLevelRank(std::string_view name);

}  // namespace tessera
