#pragma once

#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace tessera {

// At most one process of a kind per home: whoever holds the lock on the file is the one,
// and the file holds its pid. The kernel gives the lock up when the process ends, however
// it ends, so a file left behind locks nobody out.
//
// Lifetime: held until destroyed. Threads: one.
class InstanceLock {
 public:
  // nullopt when another process holds it. Throws HomeError.
  [[nodiscard]] static std::optional<InstanceLock> tryAcquire(const std::filesystem::path& file);
  // The pid of the holder; nullopt when nobody holds it.
  [[nodiscard]] static std::optional<pid_t> holder(const std::filesystem::path& file);

  InstanceLock(InstanceLock&& other) noexcept;
  InstanceLock& operator=(InstanceLock&& other) noexcept;
  ~InstanceLock();

 private:
  explicit InstanceLock(int fd) : _fd(fd) {}
  int _fd;
};

}  // namespace tessera
