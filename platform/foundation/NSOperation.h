#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tessera {

// A unit of work that a queue starts and that ends by itself, possibly long after
// main() has returned (an asynchronous operation).
//
// Invariant: goes ready → executing → finished, each once.
// Threads: any.
class NSOperation : public std::enable_shared_from_this<NSOperation> {
 public:
  NSOperation() = default;
  NSOperation(const NSOperation&) = delete;
  NSOperation& operator=(const NSOperation&) = delete;
  virtual ~NSOperation() = default;

  // Called by the queue, once, on a thread of its own. Calls main().
  virtual void start();
  // The work. May return before it is done.
  virtual void main() = 0;
  // Asks the work to end soon. It still finishes. Calling it again is harmless.
  virtual void cancel();

  [[nodiscard]] bool isCancelled() const noexcept;
  [[nodiscard]] bool isExecuting() const noexcept;
  [[nodiscard]] bool isFinished() const noexcept;
  void waitUntilFinished();

  // Called once when the operation has finished; at once if it has already. Used by queues.
  void whenFinished(std::function<void()> handler);

 protected:
  // Ends the operation: it leaves its queue. Only the first call counts.
  void finish();

 private:
  enum class State { Ready, Executing, Finished };
  std::atomic<bool> _cancelled{false};
  mutable std::mutex _lock;
  std::condition_variable _changed;
  State _state = State::Ready;                   // guarded by _lock
  std::vector<std::function<void()>> _handlers;  // guarded by _lock
};

}  // namespace tessera
