#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

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
// free with C++ scopes; nothing has to be drained). Work that throws ends the process.
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
  void sync(F&& work) {
    take();
    {
      const Running running(this);
      [&work]() noexcept { std::forward<F>(work)(); }();
    }
    giveBack();
  }

  // True on a thread that is running this queue's work just now.
  [[nodiscard]] bool isCurrent() const noexcept;
  // Ends the process with a message that names the queue unless isCurrent().
  void assertOnQueue() const;

 private:
  // One queue whose work the thread is running; the ones around it are further out.
  class Running {
   public:
    explicit Running(const DispatchQueue* running) noexcept : queue(running), outer(innermost) {
      innermost = this;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { innermost = outer; }

    const DispatchQueue* const queue;
    const Running* const outer;
    static constinit inline thread_local const Running* innermost = nullptr;
  };
  struct Waiter;
  struct Entry {
    Work work;       // asynchronous work, or
    Waiter* waiter;  // somebody in sync()
  };

  // Idle: nobody runs, nothing waits. Taken: somebody runs, nothing waits. Awaited:
  // somebody runs (or a worker is on its way) and whoever gives the queue back looks
  // at _waiting first. Idle → Taken → Idle is done without the lock; everything else
  // under it.
  enum State : std::uint32_t { kIdle, kTaken, kAwaited };

  explicit DispatchQueue(std::string_view label) : _label(label) {}

  void take() {
    std::uint32_t idle = kIdle;
    if (!_state.compare_exchange_strong(idle, kTaken, std::memory_order_acquire,
                                        std::memory_order_relaxed)) [[unlikely]]
      takeInTurn();
  }
  void giveBack() {
    std::uint32_t taken = kTaken;
    if (!_state.compare_exchange_strong(taken, kIdle, std::memory_order_release,
                                        std::memory_order_relaxed)) [[unlikely]]
      passOn();
  }
  void takeInTurn();
  void passOn();
  void runWaiting();
  void startWorker();
  bool markAwaited();
  void handTo(Waiter& waiter);
  [[nodiscard]] Entry nextEntry();

  const std::string _label;
  std::atomic<std::uint32_t> _state{kIdle};
  std::mutex _lock;
  std::deque<Entry> _waiting;  // guarded by _lock, oldest first
};

}  // namespace tessera
