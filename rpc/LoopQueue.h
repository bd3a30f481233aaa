#pragma once

#include <mutex>
#include <vector>

#include <kj/function.h>
#include <kj/io.h>

namespace tessera {

// The way into an event loop from other threads: a list of tasks and an eventfd that says
// that the list is not empty.
//
// It is an object apart from the loop because whoever holds something of the loop's may
// outlive it: a task for a loop that has stopped is refused here.
//
// Threads: post() any; the rest is the loop's. Self-synchronised.
class LoopQueue {
 public:
  using Task = kj::Function<void()>;

  // Throws kj::Exception when the kernel gives no eventfd.
  LoopQueue();
  LoopQueue(const LoopQueue&) = delete;
  LoopQueue& operator=(const LoopQueue&) = delete;

  // Tasks run in the order in which they were accepted, each exactly once. False once the
  // loop has stopped; the task is then destroyed here, on the caller's thread.
  bool post(Task task);

  // Readable while tasks wait.
  [[nodiscard]] int fd() const { return _wakeUp.get(); }
  // Takes all tasks and makes fd() unreadable until the next one comes.
  [[nodiscard]] std::vector<Task> take();
  // Refuses tasks from now on; returns those that were accepted and not taken.
  [[nodiscard]] std::vector<Task> close();

 private:
  const kj::AutoCloseFd _wakeUp;
  std::mutex _lock;
  // Guarded by _lock:
  std::vector<Task> _tasks;
  bool _closed = false;
};

}  // namespace tessera
