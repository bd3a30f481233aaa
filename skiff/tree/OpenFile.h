#pragma once

#include <unistd.h>

#include <utility>

namespace tessera {

// Owns an open descriptor; -1 is none.
class OpenFile {
 public:
  OpenFile() = default;
  explicit OpenFile(int fd) : _fd(fd) {}
  OpenFile(OpenFile&& other) noexcept : _fd(std::exchange(other._fd, -1)) {}
  OpenFile& operator=(OpenFile&& other) noexcept {
    std::swap(_fd, other._fd);
    return *this;
  }
  ~OpenFile() {
    if (_fd >= 0) ::close(_fd);
  }

  [[nodiscard]] int get() const noexcept { return _fd; }
  explicit operator bool() const noexcept { return _fd >= 0; }

 private:
  int _fd = -1;
};

}  // namespace tessera
