#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tessera {

class DispatchQueue;
using DispatchQueuePtr = std::shared_ptr<DispatchQueue>;

// A serial queue: runs the work given to it one piece after the other, in the order
// given.
//
// sync() on an idle queue runs the work on the calling thread, without a switch to
// another one; a busy queue makes the caller wait for its turn. Asynchronous work runs
// on the process's shared worker threads, which keep the queue alive meanwhile.
// Temporary objects of one piece of work die when it ends (per-work-item release comes
// free with C++ scopes; nothing has to be drained).
//
// Threads: any. sync() from the queue's own work would wait for itself: it is refused
// by an assertion that ends the process.
class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
 public:
  using Work = std::function<void()>;

  // A new serial queue. The label is for people (debuggers, isCurrent messages).
  [[nodiscard]] static DispatchQueuePtr serial(std::string_view label);

  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;
  ~DispatchQueue();

  [[nodiscard]] const std::string& label() const noexcept { return _label; }

  void async(Work work);

  // Runs `work` in its turn and returns when it has ended.
  template <class F>
  void sync(F&& work);

  // True on a thread that is running this queue's work just now.
  [[nodiscard]] bool isCurrent() const noexcept;
  // Ends the process with a message that names the queue unless isCurrent().
  void assertOnQueue() const;
};

}  // namespace tessera
