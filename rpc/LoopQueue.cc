#include "rpc/LoopQueue.h"

#include <cstdint>
#include <utility>

#include <kj/debug.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tessera {

namespace {

kj::AutoCloseFd newEventFd() {
  int fd = -1;
  KJ_SYSCALL(fd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  return kj::AutoCloseFd(fd);
}

}  // namespace

LoopQueue::LoopQueue() : _wakeUp(newEventFd()) {}

bool LoopQueue::post(Task task) {
  bool first = false;
  {
    const std::lock_guard held(_lock);
    if (_closed) return false;
    first = _tasks.empty();
    _tasks.push_back(kj::mv(task));
  }
  if (first) {
    const std::uint64_t one = 1;
    KJ_SYSCALL(::write(fd(), &one, sizeof one));
  }
  return true;
}

std::vector<LoopQueue::Task> LoopQueue::take() {
  // Before the list is emptied: a task that comes after that writes anew.
  std::uint64_t count = 0;
  [[maybe_unused]] const auto none = ::read(fd(), &count, sizeof count);
  const std::lock_guard held(_lock);
  return std::exchange(_tasks, {});
}

std::vector<LoopQueue::Task> LoopQueue::close() {
  const std::lock_guard held(_lock);
  _closed = true;
  return std::exchange(_tasks, {});
}

}  // namespace tessera
