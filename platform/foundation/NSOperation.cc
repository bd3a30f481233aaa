#include "platform/foundation/NSOperation.h"

#include <utility>

namespace tessera {

void NSOperation::start() {
  if (isCancelled()) {
    finish();
    return;
  }
  {
    const std::lock_guard held(_lock);
    if (_state != State::Ready) return;
    _state = State::Executing;
  }
  main();
}

void NSOperation::cancel() {
  _cancelled.store(true, std::memory_order_release);
}

bool NSOperation::isCancelled() const noexcept {
  return _cancelled.load(std::memory_order_acquire);
}

bool NSOperation::isExecuting() const noexcept {
  const std::lock_guard held(_lock);
  return _state == State::Executing;
}

bool NSOperation::isFinished() const noexcept {
  const std::lock_guard held(_lock);
  return _state == State::Finished;
}

void NSOperation::waitUntilFinished() {
  std::unique_lock held(_lock);
  _changed.wait(held, [this] { return _state == State::Finished; });
}

void NSOperation::whenFinished(std::function<void()> handler) {
  {
    const std::lock_guard held(_lock);
    if (_state != State::Finished) {
      _handlers.push_back(std::move(handler));
      return;
    }
  }
  handler();
}

void NSOperation::finish() {
  const auto self = weak_from_this().lock();  // a handler may drop the last reference
  std::vector<std::function<void()>> handlers;
  {
    const std::lock_guard held(_lock);
    if (_state == State::Finished) return;
    _state = State::Finished;
    handlers.swap(_handlers);
    _changed.notify_all();
  }
  for (const auto& handler : handlers) handler();
}

}  // namespace tessera
