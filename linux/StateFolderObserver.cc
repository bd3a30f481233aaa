#include "linux/StateFolderObserver.h"

#include <cerrno>
#include <set>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace tessera {

StateFolderObserver::Descriptor::Descriptor(int fd, const char* what) : _fd(fd) {
  if (fd < 0) throw std::system_error(errno, std::generic_category(), what);
}

StateFolderObserver::Descriptor::~Descriptor() {
  ::close(_fd);
}

// A published file gets its name by a rename. Writing is not listened for: the file that was
// renamed is closed only then, which would be told as a second change.
StateFolderObserver::StateFolderObserver(const std::filesystem::path& folder, Handlers handlers)
    : _handlers(std::move(handlers)),
      _changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify_init1"),
      _end(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd") {
  constexpr std::uint32_t kEvents = IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR;
  if (::inotify_add_watch(_changes.get(), folder.c_str(), kEvents) < 0) {
    throw std::system_error(errno, std::generic_category(), "cannot watch " + folder.string());
  }
  _thread = std::thread([this] { run(); });
}

StateFolderObserver::~StateFolderObserver() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(_end.get(), &one, sizeof one);
  _thread.join();
}

void StateFolderObserver::run() {
  pollfd polled[] = {{_changes.get(), POLLIN, 0}, {_end.get(), POLLIN, 0}};
  for (;;) {
    if (::poll(polled, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (polled[1].revents != 0) return;
    if (polled[0].revents != 0) tellAboutWaitingEvents();
  }
}

void StateFolderObserver::tellAboutWaitingEvents() {
  alignas(inotify_event) char buffer[16384];
  std::set<std::string> changed;
  bool lostCount = false;
  for (;;) {
    const ssize_t count = ::read(_changes.get(), buffer, sizeof buffer);
    if (count <= 0) break;
    for (const char* at = buffer; at < buffer + count;) {
      const auto* event = reinterpret_cast<const inotify_event*>(at);
      if ((event->mask & IN_Q_OVERFLOW) != 0) lostCount = true;
      if (event->len > 0) changed.emplace(event->name);
      at += sizeof(inotify_event) + event->len;
    }
  }
  for (const auto& [name, handler] : _handlers) {
    if (lostCount || changed.contains(name)) handler();
  }
}

}  // namespace tessera
