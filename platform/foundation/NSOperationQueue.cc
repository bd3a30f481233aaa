#include "platform/foundation/NSOperationQueue.h"

#include <condition_variable>
#include <mutex>
#include <set>
#include <utility>

#include "platform/dispatch/WorkerPool.h"
#include "platform/foundation/NSOperation.h"

namespace tessera {

// Shared with the operations, which may finish after the queue has gone. An operation
// that is under way refers to the state and is held by it; its end breaks that circle.
struct NSOperationQueue::State {
  std::mutex lock;
  std::condition_variable changed;
  // The rest is guarded by `lock`.
  std::set<std::shared_ptr<NSOperation>> unfinished;
  std::size_t starting = 0;  // given to a worker, and main() has not returned yet

  void started() {
    const std::lock_guard held(lock);
    --starting;
    changed.notify_all();
  }

  void finished(const std::shared_ptr<NSOperation>& operation) {
    const std::lock_guard held(lock);
    unfinished.erase(operation);
    changed.notify_all();
  }
};

NSOperationQueue::NSOperationQueue() : _state(std::make_shared<State>()) {}

NSOperationQueue::~NSOperationQueue() {
  std::unique_lock held(_state->lock);
  _state->changed.wait(held, [this] { return _state->starting == 0; });
}

void NSOperationQueue::addOperation(std::shared_ptr<NSOperation> operation) {
  {
    const std::lock_guard held(_state->lock);
    _state->unfinished.insert(operation);
    ++_state->starting;
  }
  operation->whenFinished([state = _state, finished = std::weak_ptr(operation)] {
    if (const auto held = finished.lock()) state->finished(held);
  });
  WorkerPool::shared().run([state = _state, operation = std::move(operation)]() mutable {
    operation->start();
    operation.reset();  // no worker holds it any more when the queue's destructor returns
    state->started();
  });
}

std::size_t NSOperationQueue::operationCount() const {
  const std::lock_guard held(_state->lock);
  return _state->unfinished.size();
}

// Operations added meanwhile are not waited for.
void NSOperationQueue::waitUntilAllOperationsAreFinished() {
  std::set<std::shared_ptr<NSOperation>> awaited;  // goes after the lock, as operations may
  std::unique_lock held(_state->lock);
  awaited = _state->unfinished;
  _state->changed.wait(held, [this, &awaited] {
    for (const auto& operation : awaited) {
      if (_state->unfinished.contains(operation)) return false;
    }
    return true;
  });
}

}  // namespace tessera
