#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/log/Log.h"

namespace tessera {

// Writes log lines to the system's journal, with their priority and the home they are of.
//
// Threads: any.
class Journal final : public LogBackend {
 public:
  explicit Journal(std::filesystem::path home) : _home(std::move(home)) {}

  // Whether the stream behind `fd` leads to the journal: the service manager puts the
  // device and inode of the stream that it made into JOURNAL_STREAM, and a redirected one
  // has others.
  [[nodiscard]] static bool isBehind(int fd, std::optional<std::string_view> journalStream);

  void write(std::string_view subsystem, LogType type, std::string_view line) override;

  // What write() sends, "NAME=value" each.
  [[nodiscard]] std::vector<std::string> fields(std::string_view subsystem, LogType type,
                                                std::string_view line) const;

 private:
  const std::filesystem::path _home;
};

}  // namespace tessera
