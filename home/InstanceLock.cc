#include "home/InstanceLock.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "home/Home.h"

namespace tessera {
namespace {

int openLockFile(const std::filesystem::path& file, int flags) {
  const int fd = ::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0 && errno != ENOENT) {
    throw HomeError("Cannot open the lock file " + file.string() + ": " + std::strerror(errno) +
                    ".");
  }
  return fd;
}

// The whole file, for writing. Open-file-description locks, since they can be asked about
// without being taken: asking must not make another process's attempt fail.
struct flock wholeFile() {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  return range;
}

}  // namespace

std::optional<InstanceLock> InstanceLock::tryAcquire(const std::filesystem::path& file) {
  const int fd = openLockFile(file, O_RDWR | O_CREAT);
  if (fd < 0)
    throw HomeError("Cannot make the lock file " + file.string() + "; is its folder there?");
  InstanceLock lock(fd);
  struct flock range = wholeFile();
  if (::fcntl(fd, F_OFD_SETLK, &range) != 0) return std::nullopt;
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, pid.data(), pid.size(), 0) < 0) {
    throw HomeError("Cannot write the lock file " + file.string() + ": " + std::strerror(errno) +
                    ".");
  }
  return lock;
}

std::optional<pid_t> InstanceLock::holder(const std::filesystem::path& file) {
  const int fd = openLockFile(file, O_RDONLY);
  if (fd < 0) return std::nullopt;
  const InstanceLock closer(fd);
  struct flock range = wholeFile();
  if (::fcntl(fd, F_OFD_GETLK, &range) != 0 || range.l_type == F_UNLCK) return std::nullopt;
  char text[32];
  const ssize_t count = ::pread(fd, text, sizeof text, 0);
  pid_t pid = 0;
  if (count > 0) std::from_chars(text, text + count, pid);
  return pid;
}

InstanceLock::InstanceLock(InstanceLock&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}

InstanceLock& InstanceLock::operator=(InstanceLock&& other) noexcept {
  std::swap(_fd, other._fd);
  return *this;
}

InstanceLock::~InstanceLock() {
  if (_fd >= 0) ::close(_fd);
}

}  // namespace tessera
