#pragma once

#include <cstdint>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/log/Log.h"

namespace tessera {

// Collects what is logged to a handle, in order, as (type, line).
//
// Threads: any. Lifetime: attached to the handle from construction to destruction, which
// must come after the last line was logged.
class CapturingLogBackend final : public LogBackend {
 public:
  struct Line {
    LogType type;
    std::string text;
    bool operator==(const Line&) const = default;
  };

  static constexpr std::uint8_t kEveryType = 0x1F;
  [[nodiscard]] static constexpr std::uint8_t typeBit(LogType type) {
    return static_cast<std::uint8_t>(1U << static_cast<unsigned>(type));
  }

  explicit CapturingLogBackend(Log& log, std::uint8_t enabledTypes = kEveryType);
  CapturingLogBackend(const CapturingLogBackend&) = delete;
  CapturingLogBackend& operator=(const CapturingLogBackend&) = delete;
  ~CapturingLogBackend() override;

  [[nodiscard]] std::vector<Line> lines() const;
  // The texts alone; those of one type.
  [[nodiscard]] std::vector<std::string> texts() const;
  [[nodiscard]] std::vector<std::string> texts(LogType type) const;
  void clear();

  void write(std::string_view subsystem, LogType type, std::string_view line) override;

 private:
  Log& _log;
  mutable std::mutex _lock;
  std::vector<Line> _lines;  // guarded by _lock
};

// For messages of failed expectations.
void PrintTo(const CapturingLogBackend::Line& line, std::ostream* stream);

}  // namespace tessera
