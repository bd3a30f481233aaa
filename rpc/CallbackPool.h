#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include <kj/function.h>

namespace tessera {

// The threads that run the handlers of asynchronous calls, so that a handler may block and
// never holds up the loop.
//
// A thread is added while more handlers wait than threads are free, up to a limit, because
// handlers wait for one another. Handlers that must keep an order go through a serial queue
// of their object. A handler that throws ends the process.
//
// Threads: any. Lifetime: longer than every EventLoop whose calls use it. The destructor
// runs what was given to it (and what that gives in turn) and joins its threads, so it must
// not run on one of them.
class CallbackPool {
 public:
  using Callback = kj::Function<void()>;

  static constexpr std::size_t kMostThreads = 64;

  explicit CallbackPool(std::size_t mostThreads = kMostThreads);
  CallbackPool(const CallbackPool&) = delete;
  CallbackPool& operator=(const CallbackPool&) = delete;
  ~CallbackPool();

  // Throws std::system_error when there is no thread to run it and none can be made.
  void post(Callback callback);

 private:
  void serve();

  const std::size_t _mostThreads;

  std::mutex _lock;
  std::condition_variable _changed;
  // Guarded by _lock:
  std::deque<Callback> _callbacks;
  std::vector<std::thread> _threads;
  std::size_t _free = 0;  // threads that wait for a callback
  bool _ending = false;
};

}  // namespace tessera
