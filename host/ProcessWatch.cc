#include "host/ProcessWatch.h"

#include <cerrno>
#include <system_error>

#include <sys/syscall.h>
#include <unistd.h>

namespace tessera {
namespace {

// The C library's own wrappers came later than the calls.
int openProcess(pid_t pid) {
  const auto fd = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  if (fd < 0) throw std::system_error(errno, std::generic_category(), "pidfd_open");
  return fd;
}

}  // namespace

ProcessWatch::ProcessWatch(kj::UnixEventPort& port, pid_t pid)
    : _fd(openProcess(pid)),
      _observer(port, _fd.get(), kj::UnixEventPort::FdObserver::OBSERVE_READ),
      _ended(_observer.whenBecomesReadable().fork()) {}

void ProcessWatch::signal(int number) const {
  ::syscall(SYS_pidfd_send_signal, _fd.get(), number, nullptr, 0);
}

}  // namespace tessera
