#include "platform/foundation/NSNotificationCenter.h"

#include <utility>

namespace tessera {

NSNotificationCenter& NSNotificationCenter::defaultCenter() {
  static NSNotificationCenter center;
  return center;
}

void NSNotificationCenter::addObserver(const void* observer, std::string_view name,
                                       Handler handler) {
  Registration registration{observer, std::string(name),
                            std::make_shared<const Handler>(std::move(handler))};
  const std::lock_guard held(_lock);
  _registrations.push_back(std::move(registration));
}

// What a handler captured may call the centre when it dies, so the handlers that were
// taken out die after the lock.
void NSNotificationCenter::removeObserver(const void* observer, std::string_view name) {
  std::vector<Registration> removed;
  const std::lock_guard held(_lock);
  std::erase_if(_registrations, [&removed, observer, name](Registration& registration) {
    if (registration.observer != observer || registration.name != name) return false;
    removed.push_back({registration.observer, {}, registration.handler});
    return true;
  });
}

void NSNotificationCenter::removeObserver(const void* observer) {
  std::vector<Registration> removed;
  const std::lock_guard held(_lock);
  std::erase_if(_registrations, [&removed, observer](Registration& registration) {
    if (registration.observer != observer) return false;
    removed.push_back({registration.observer, {}, registration.handler});
    return true;
  });
}

void NSNotificationCenter::postNotification(std::string_view name) {
  std::vector<std::shared_ptr<const Handler>> handlers;
  {
    const std::lock_guard held(_lock);
    for (const auto& registration : _registrations) {
      if (registration.name == name) handlers.push_back(registration.handler);
    }
  }
  for (const auto& handler : handlers) (*handler)();
}

}  // namespace tessera
