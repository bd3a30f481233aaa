#pragma once

#include <utility>

namespace tessera {

// An open file descriptor, closed with this object.
// Threads: as the descriptor's use requires; moving it is for one thread at a time.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : _descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept
      : _descriptor(std::exchange(other._descriptor, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(_descriptor, other._descriptor);
    return *this;
  }
  ~FileDescriptor();

  [[nodiscard]] int get() const noexcept { return _descriptor; }
  [[nodiscard]] bool isOpen() const noexcept { return _descriptor >= 0; }

 private:
  int _descriptor = -1;
};

}  // namespace tessera
