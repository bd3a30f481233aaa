#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>

#include "platform/log/Log.h"

namespace tessera {

// Writes log lines to a file, one write(2) a line, appending: several processes may write
// to the same one. A file that has reached the limit is moved to "<file>.1", in place of
// the one before, and a new one is begun; whoever else has it open follows at its next line.
//
// Never fails: a line that cannot be written is lost, the next one tries again.
//
// Threads: any. No lock is held while a line is written, only while the file is changed.
class LogFile final : public LogBackend {
 public:
  static constexpr std::uint64_t kLimit = 8ULL << 20;  // bytes

  explicit LogFile(std::filesystem::path file, std::uint64_t limit = kLimit);
  ~LogFile() override;

  void write(std::string_view subsystem, LogType type, std::string_view line) override;

 private:
  class Descriptor;

  std::shared_ptr<const Descriptor> usable();
  std::shared_ptr<const Descriptor> next(const std::shared_ptr<const Descriptor>& full);
  void moveAside(const Descriptor& full) const;

  const std::filesystem::path _file;
  const std::uint64_t _limit;
  std::mutex _changing;                        // held while the file is changed for the next
  std::mutex _lock;                            // guards _current; taken inside _changing
  std::shared_ptr<const Descriptor> _current;  // nullptr while the file cannot be opened
};

}  // namespace tessera
