#include "platform/dispatch/DispatchQueue.h"

#include <cassert>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>

#include "platform/dispatch/WorkerPool.h"

namespace tessera {
namespace {

// How often a caller of sync() looks at a busy queue before it goes to sleep. Most work
// of this system's queues is shorter than the two switches that sleeping costs.
constexpr int kLooksBeforeSleep = 64;

[[noreturn]] void endProcess(const char* what, const std::string& label) {
  std::fprintf(stderr, "DispatchQueue \"%s\": %s\n", label.c_str(), what);
  std::abort();
}

}  // namespace

// A thread in sync() that waits for its turn. Lives on that thread's stack; everything
// in it is guarded by the queue's lock, and whoever wakes it holds that lock until it is
// done with it.
struct DispatchQueue::Waiter {
  std::condition_variable woken;
  bool hasTurn = false;
};

DispatchQueuePtr DispatchQueue::serial(std::string_view label) {
  return DispatchQueuePtr(new DispatchQueue(label));
}

DispatchQueue::~DispatchQueue() {
  assert(_waiting.empty() && "whoever runs or waits holds the queue");
}

bool DispatchQueue::isCurrent() const noexcept {
  for (const Running* running = Running::innermost; running != nullptr; running = running->outer) {
    if (running->queue == this) return true;
  }
  return false;
}

void DispatchQueue::assertOnQueue() const {
  if (!isCurrent()) endProcess("not on this queue", _label);
}

void DispatchQueue::async(Work work) {
  const std::lock_guard held(_lock);
  _waiting.push_back({std::move(work), nullptr});
  if (markAwaited()) startWorker();
}

// The slow half of take(). A caller that finds the queue idle while it looks cannot
// overtake its own earlier work: the queue is idle only when nothing waits.
void DispatchQueue::takeInTurn() {
  if (isCurrent()) endProcess("sync() from the queue's own work would never return", _label);
  for (int look = 0; look < kLooksBeforeSleep; ++look) {
    std::uint32_t idle = kIdle;
    if (_state.load(std::memory_order_relaxed) == kIdle &&
        _state.compare_exchange_weak(idle, kTaken, std::memory_order_acquire,
                                     std::memory_order_relaxed))
      return;
  }
  std::unique_lock held(_lock);
  if (markAwaited()) {  // it has become idle: nobody would give us our turn
    _state.store(kTaken, std::memory_order_relaxed);
    return;
  }
  Waiter waiter;
  _waiting.push_back({nullptr, &waiter});
  waiter.woken.wait(held, [&waiter] { return waiter.hasTurn; });
}

// The slow half of giveBack(): somebody waits.
void DispatchQueue::passOn() {
  const std::lock_guard held(_lock);
  if (_waiting.front().waiter != nullptr) {
    handTo(*nextEntry().waiter);
  } else {
    startWorker();
  }
}

// Runs asynchronous work on a worker until nothing waits or it is a sync() caller's turn.
void DispatchQueue::runWaiting() {
  std::unique_lock held(_lock);
  while (_waiting.front().waiter == nullptr) {
    Entry entry = nextEntry();
    held.unlock();
    [this, &entry]() noexcept {
      const Running running(this);
      entry.work();
      entry.work = nullptr;  // what it captured dies on the queue, before the next work
    }();
    std::uint32_t taken = kTaken;
    if (_state.compare_exchange_strong(taken, kIdle, std::memory_order_release,
                                       std::memory_order_relaxed))
      return;
    held.lock();
  }
  handTo(*nextEntry().waiter);
}

// The queue stays taken, for the worker.
void DispatchQueue::startWorker() {
  WorkerPool::shared().run([self = shared_from_this()] { self->runWaiting(); });
}

// With _lock held: makes sure that whoever runs looks at _waiting in the end. True if
// the queue was idle and the caller has taken it by that.
bool DispatchQueue::markAwaited() {
  return _state.exchange(kAwaited, std::memory_order_acq_rel) == kIdle;
}

// With _lock held.
void DispatchQueue::handTo(Waiter& waiter) {
  waiter.hasTurn = true;
  waiter.woken.notify_one();
}

// With _lock held and the queue taken by the caller: the oldest entry, whose turn it is.
DispatchQueue::Entry DispatchQueue::nextEntry() {
  Entry entry = std::move(_waiting.front());
  _waiting.pop_front();
  if (_waiting.empty()) _state.store(kTaken, std::memory_order_relaxed);
  return entry;
}

}  // namespace tessera
