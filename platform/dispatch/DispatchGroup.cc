#include "platform/dispatch/DispatchGroup.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace tessera {

void DispatchGroup::enter() {
  const std::lock_guard held(_lock);
  ++_inside;
}

void DispatchGroup::leave() {
  std::vector<Notification> notifications;
  {
    const std::lock_guard held(_lock);
    if (_inside == 0) {
      std::fputs("DispatchGroup: left more often than entered\n", stderr);
      std::abort();
    }
    if (--_inside > 0) return;
    notifications.swap(_notifications);
    _emptied.notify_all();
  }
  for (auto& [queue, work] : notifications) queue->async(std::move(work));
}

void DispatchGroup::wait() {
  std::unique_lock held(_lock);
  _emptied.wait(held, [this] { return _inside == 0; });
}

void DispatchGroup::notify(const DispatchQueuePtr& queue, DispatchQueue::Work work) {
  {
    const std::lock_guard held(_lock);
    if (_inside > 0) {
      _notifications.push_back({queue, std::move(work)});
      return;
    }
  }
  queue->async(std::move(work));
}

}  // namespace tessera
