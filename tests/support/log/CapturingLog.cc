#include "tests/support/log/CapturingLog.h"

#include <ostream>

namespace tessera {

CapturingLogBackend::CapturingLogBackend(Log& log, std::uint8_t enabledTypes) : _log(log) {
  _log.attach(this, enabledTypes);
}

CapturingLogBackend::~CapturingLogBackend() {
  _log.attach(nullptr, 0);
}

std::vector<CapturingLogBackend::Line> CapturingLogBackend::lines() const {
  const std::lock_guard held(_lock);
  return _lines;
}

std::vector<std::string> CapturingLogBackend::texts() const {
  std::vector<std::string> texts;
  const std::lock_guard held(_lock);
  for (const Line& line : _lines) texts.push_back(line.text);
  return texts;
}

std::vector<std::string> CapturingLogBackend::texts(LogType type) const {
  std::vector<std::string> texts;
  const std::lock_guard held(_lock);
  for (const Line& line : _lines) {
    if (line.type == type) texts.push_back(line.text);
  }
  return texts;
}

void CapturingLogBackend::clear() {
  const std::lock_guard held(_lock);
  _lines.clear();
}

void CapturingLogBackend::write(std::string_view, LogType type, std::string_view line) {
  const std::lock_guard held(_lock);
  _lines.push_back({type, std::string(line)});
}

void PrintTo(const CapturingLogBackend::Line& line, std::ostream* stream) {
  static constexpr const char* kNames[] = {"default", "info", "debug", "error", "fault"};
  *stream << kNames[static_cast<int>(line.type)] << " \"" << line.text << '"';
}

}  // namespace tessera
