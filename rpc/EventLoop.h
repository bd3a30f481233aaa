#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <thread>

#include <kj/async-io.h>
#include <kj/async-unix.h>

#include "rpc/LoopQueue.h"
#include "rpc/LoopValues.h"

namespace tessera {

// How many events a loop runs in a row before it looks for I/O again. The library's own
// default is "until there are none left", and then a connection that is pushed to keeps
// every other one, and every other thread, waiting for seconds.
inline constexpr unsigned kBusyPollInterval = 32;

// One thread that runs an event loop, and the way for other threads to work on it.
//
// Capabilities, connections and promises belong to one thread. A process whose calls come
// from many threads keeps them all on this one: the others post() to it, hold what is
// there through LoopBound and make their calls with Call.h. A program with a single thread
// needs none of this and runs a loop of its own.
//
// Invariant: nothing blocks on the loop.
// Threads: post(), queue() and isCurrent() any; the rest on the loop only, and checked.
// Lifetime: the destructor stops the loop and joins the thread, so it must not run on the
// loop. Tasks accepted before still run; promises that were added, and values held by
// LoopBound, are then destroyed on the loop. The first loop of a process makes the process
// ignore SIGPIPE.
class EventLoop {
 public:
  using Task = LoopQueue::Task;
  using FailureHandler = std::function<void(const kj::Exception&)>;

  // `onTaskFailure` gets what tasks and added promises throw, on the loop. Throws when the
  // loop cannot be set up.
  explicit EventLoop(FailureHandler onTaskFailure = writeToStandardError);
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;
  ~EventLoop();

  static void writeToStandardError(const kj::Exception& failure);

  // See LoopQueue::post(). What a task captures must be fit to be destroyed on any thread:
  // LoopBound is, a bare capability, promise or fulfiller is not.
  bool post(Task task) { return _queue->post(kj::mv(task)); }
  [[nodiscard]] const std::shared_ptr<LoopQueue>& queue() const { return _queue; }
  [[nodiscard]] bool isCurrent() const noexcept { return currentQueue() == _queue.get(); }
  // The queue of the loop that runs on the calling thread; nullptr elsewhere. Compared, not
  // used: it tells a thread apart even after its loop is gone.
  [[nodiscard]] static const LoopQueue* currentQueue() noexcept;

  // Runs `promise` to its end in the background; its failure goes to the handler.
  void add(kj::Promise<void> promise);
  [[nodiscard]] kj::LowLevelAsyncIoProvider& io();
  [[nodiscard]] kj::UnixEventPort& eventPort();
  [[nodiscard]] kj::Timer& timer();
  [[nodiscard]] LoopValues& values();

 private:
  struct OnThread;  // what lives on the loop's stack

  void run(std::promise<void>& started);
  void serve(kj::AsyncIoContext& context, std::promise<void>& started);
  void runTasks(std::vector<Task> tasks);
  kj::Promise<void> pump(kj::UnixEventPort::FdObserver& observer);
  OnThread& onThread();

  const FailureHandler _onTaskFailure;
  const std::shared_ptr<LoopQueue> _queue;
  OnThread* _onThread = nullptr;  // the loop's
  std::thread _thread;
};

}  // namespace tessera
