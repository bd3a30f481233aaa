#include "cloud/embedded/WakeFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <utility>

#include "cloud/embedded/StorageError.h"

namespace tessera {

namespace {

constexpr std::chrono::milliseconds kRecheck = std::chrono::seconds(30);

FileDescriptor watchOf(const std::filesystem::path& file) {
  FileDescriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  if (!watch.isOpen()) throw cloudErrorFromErrno(errno, "Cannot watch the cloud for changes");
  if (::inotify_add_watch(watch.get(), file.c_str(), IN_MODIFY | IN_ATTRIB) < 0) {
    throw cloudErrorFromErrno(errno, "Cannot watch " + file.string());
  }
  return watch;
}

void drain(int watch) {
  std::array<char, 4096> events;
  while (::read(watch, events.data(), events.size()) > 0) {
  }
}

}  // namespace

WakeFile::WakeFile(std::filesystem::path file) : _file(std::move(file)) {
  _descriptor = FileDescriptor(::open(_file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!_descriptor.isOpen()) throw cloudErrorFromErrno(errno, "Cannot open " + _file.string());
}

void WakeFile::touch() const noexcept {
  // One byte, always at the same place: the file never grows, and on a full disk the
  // dates still can be set.
  if (::pwrite(_descriptor.get(), "w", 1, 0) == 1) return;
  ::futimens(_descriptor.get(), nullptr);
}

void WakeFile::waitUntil(const std::function<bool()>& changed, std::chrono::milliseconds timeout,
                         const std::stop_token& stop) const {
  using Clock = std::chrono::steady_clock;
  using std::chrono::milliseconds;
  FileDescriptor watch = watchOf(_file);
  FileDescriptor stopped(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!stopped.isOpen()) throw cloudErrorFromErrno(errno, "Cannot wait for changes");
  std::stop_callback onStop(stop, [descriptor = stopped.get()] {
    std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(descriptor, &one, sizeof one);
  });

  // Kept below a day at a time, so that no sum of it and the clock overflows.
  milliseconds left = std::clamp(timeout, milliseconds(0), milliseconds(std::chrono::hours(24)));
  const auto deadline = Clock::now() + left;
  // Asked only now that the watch stands: no change falls between the two.
  while (!stop.stop_requested() && !changed()) {
    left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left <= milliseconds(0)) return;
    std::array<pollfd, 2> both{pollfd{watch.get(), POLLIN, 0}, pollfd{stopped.get(), POLLIN, 0}};
    ::poll(both.data(), both.size(), static_cast<int>(std::min(left, kRecheck).count()));
    drain(watch.get());
  }
}

}  // namespace tessera
