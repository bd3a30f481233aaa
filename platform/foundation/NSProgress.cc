#include "platform/foundation/NSProgress.h"

#include <utility>

namespace tessera {

std::shared_ptr<NSProgress> NSProgress::progressWithTotalUnitCount(std::int64_t total) {
  return std::make_shared<NSProgress>(total);
}

void NSProgress::setCancellationHandler(std::function<void()> handler) {
  {
    const std::lock_guard held(_lock);
    if (!_cancelled) {
      _handler.swap(handler);
      return;
    }
  }
  if (handler) handler();
}

void NSProgress::cancel() {
  std::function<void()> handler;
  {
    const std::lock_guard held(_lock);
    if (_cancelled.exchange(true)) return;
    handler.swap(_handler);
  }
  if (handler) handler();
}

}  // namespace tessera
