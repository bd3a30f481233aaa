#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <utility>

namespace tessera {

// Calls that a fake has taken and not answered yet, oldest first. The test takes them out
// and answers when it wants to.
//
// Threads: any.
template <class Call>
class CallQueue {
 public:
  void push(Call call) {
    const std::lock_guard held(_lock);
    _calls.push_back(std::move(call));
    _pushed.notify_one();
  }

  // Waits until there is one.
  [[nodiscard]] Call take() {
    std::unique_lock held(_lock);
    _pushed.wait(held, [this] { return !_calls.empty(); });
    Call call = std::move(_calls.front());
    _calls.pop_front();
    return call;
  }

  [[nodiscard]] std::size_t size() const {
    const std::lock_guard held(_lock);
    return _calls.size();
  }

 private:
  mutable std::mutex _lock;
  std::condition_variable _pushed;
  std::deque<Call> _calls;  // guarded by _lock
};

}  // namespace tessera
