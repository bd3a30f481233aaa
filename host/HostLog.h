#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace tessera {

// The host's own log: one line a message, with time and pid, appended to a file. Control
// characters are written as escapes, so that a line stays a line. A file that has reached
// the limit becomes "<file>.1", in place of the one before. A line that cannot be written
// is lost; nothing fails because of the log.
//
// Threads: one.
class HostLog {
 public:
  static constexpr std::uint64_t kLimit = 8ULL << 20;  // bytes

  // `onTerminal`: lines go to standard error too.
  explicit HostLog(std::filesystem::path file, bool onTerminal = false,
                   std::uint64_t limit = kLimit);
  HostLog(const HostLog&) = delete;
  HostLog& operator=(const HostLog&) = delete;
  ~HostLog();

  void write(std::string_view text);

 private:
  void open();
  void rotateIfFull();

  const std::filesystem::path _file;
  const bool _onTerminal;
  const std::uint64_t _limit;
  int _fd = -1;
};

}  // namespace tessera
