#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tessera {

// Tells everybody who registered for a name that something happened.
//
// Threads: any. Handlers run on the posting thread, one after the other in the order
// of registration, and no lock of the centre is held meanwhile: a handler may
// register, remove and post.
class NSNotificationCenter {
 public:
  using Handler = std::function<void()>;

  NSNotificationCenter() = default;
  NSNotificationCenter(const NSNotificationCenter&) = delete;
  NSNotificationCenter& operator=(const NSNotificationCenter&) = delete;

  // The process's centre (`defaultCenter`).
  [[nodiscard]] static NSNotificationCenter& defaultCenter();

  // `observer` only names the registration for removal and is never dereferenced.
  // A handler that may outlive its object captures a weak pointer to it.
  void addObserver(const void* observer, std::string_view name, Handler handler);
  // Once this returns, no post that starts later reaches the observer.
  void removeObserver(const void* observer, std::string_view name);
  void removeObserver(const void* observer);  // for all names

  void postNotification(std::string_view name);

 private:
  struct Registration {
    const void* observer;
    std::string name;
    std::shared_ptr<const Handler> handler;
  };

  std::mutex _lock;
  std::vector<Registration> _registrations;  // guarded by _lock, oldest first
};

}  // namespace tessera
