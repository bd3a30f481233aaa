#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string_view>

namespace tessera {

// The daemon's log file: one line a message, with the time in UTC. Control characters in a
// message are written as \xNN, so that a line stays a line. A file that has grown to
// `rotateAt` bytes becomes NAME.1 and a new one begins.
//
// Logging never fails the caller: what cannot be written is dropped.
// Threads: any.
class DaemonLog {
 public:
  enum class Level { Info, Warning, Error };

  static constexpr std::uint64_t kRotateAt = 8 * 1024 * 1024;

  explicit DaemonLog(std::filesystem::path file, std::uint64_t rotateAt = kRotateAt);
  ~DaemonLog();
  DaemonLog(const DaemonLog&) = delete;
  DaemonLog& operator=(const DaemonLog&) = delete;

  void info(std::string_view message) { write(Level::Info, message); }
  void warning(std::string_view message) { write(Level::Warning, message); }
  void error(std::string_view message) { write(Level::Error, message); }
  void write(Level level, std::string_view message);

 private:
  void open();
  void rotate();

  const std::filesystem::path _file;
  const std::uint64_t _rotateAt;
  std::mutex _lock;
  int _fd = -1;             // guarded by _lock; -1 while the file cannot be opened
  std::uint64_t _size = 0;  // guarded by _lock
};

}  // namespace tessera
