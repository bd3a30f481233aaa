#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "platform/dispatch/DispatchQueue.h"

namespace tessera {

// Counts work that is under way, so that somebody can be told when all of it is over.
//
// Threads: any. Lifetime: must outlive every wait(); a leave() that ends the group may
// still be returning when wait() does, so whoever leaves holds the group as well.
class DispatchGroup {
 public:
  DispatchGroup() = default;
  DispatchGroup(const DispatchGroup&) = delete;
  DispatchGroup& operator=(const DispatchGroup&) = delete;

  void enter();
  // Ends the process if it was not preceded by an enter() of its own.
  void leave();

  // Returns once nobody is inside.
  void wait();

  // Runs `work` on `queue` once nobody is inside; soon, if that is so already.
  void notify(const DispatchQueuePtr& queue, DispatchQueue::Work work);

 private:
  struct Notification {
    DispatchQueuePtr queue;
    DispatchQueue::Work work;
  };

  std::mutex _lock;
  std::condition_variable _emptied;
  // The rest is guarded by _lock.
  std::size_t _inside = 0;
  std::vector<Notification> _notifications;
};

}  // namespace tessera
