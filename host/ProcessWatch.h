#pragma once

#include <kj/async-unix.h>
#include <kj/io.h>
#include <sys/types.h>

namespace tessera {

// Tells on the loop when a process has ended, its own child or not. It works on a process
// descriptor: no signal handler, and no confusion when the number is given to another
// process.
//
// Threads: the loop's.
class ProcessWatch {
 public:
  // For a child, call it before anybody waits for the child. Throws std::system_error
  // (ESRCH when there is no such process).
  ProcessWatch(kj::UnixEventPort& port, pid_t pid);
  ProcessWatch(const ProcessWatch&) = delete;
  ProcessWatch& operator=(const ProcessWatch&) = delete;

  // The process has ended; a child still has to be waited for. Any number may wait.
  [[nodiscard]] kj::Promise<void> whenEnded() { return _ended.addBranch(); }
  [[nodiscard]] int fd() const { return _fd.get(); }
  // Nothing happens when the process has ended.
  void signal(int number) const;

 private:
  const kj::AutoCloseFd _fd;
  kj::UnixEventPort::FdObserver _observer;
  kj::ForkedPromise<void> _ended;
};

}  // namespace tessera
