#include "cli/LogLine.h"

namespace tessera {
namespace {

std::string_view nextWord(std::string_view& rest) {
  const std::size_t end = rest.find(' ');
  const std::string_view word = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  return word;
}

}  // namespace

std::optional<LogLine> LogLine::parse(std::string_view line) {
  LogLine parsed;
  std::string_view rest = line;
  parsed.time = nextWord(rest);
  parsed.process = nextWord(rest);
  parsed.thread = nextWord(rest);
  parsed.type = nextWord(rest);
  parsed.subsystem = nextWord(rest);
  parsed.text = rest;
  if (parsed.subsystem.empty() || !logLevelRank(parsed.type)) return std::nullopt;
  return parsed;
}

std::optional<int> logLevelRank(std::string_view name) {
  if (name == "error" || name == "fault") return 0;
  if (name == "default") return 1;
  if (name == "info") return 2;
  if (name == "debug") return 3;
  return std::nullopt;
}

}  // namespace tessera
