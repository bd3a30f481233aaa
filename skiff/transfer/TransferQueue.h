#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <unordered_map>
#include <vector>

#include "skiff/transfer/Hydrator.h"

namespace tessera {

// The transfers under way and waiting: one for each document, however many ask for it, and so
// many at once.
//
// A request that is cancelled leaves the transfer to the others who wait for it; the transfer
// ends when the last of them has gone.
// Threads: any. Lifetime: the destructor cancels everything, tells who waits, and joins.
class TransferQueue {
 public:
  // Called once, on a thread of the queue, with nothing when the content is there.
  using Done = std::function<void(std::exception_ptr)>;
  using Ticket = std::uint64_t;

  static constexpr unsigned kAtOnce = 4;

  explicit TransferQueue(Hydrator& hydrator, unsigned atOnce = kAtOnce);
  ~TransferQueue();
  TransferQueue(const TransferQueue&) = delete;
  TransferQueue& operator=(const TransferQueue&) = delete;

  Ticket request(const ItemID& uuid, bool wantsCurrent, Done done);
  // `done` is not called any more, unless it has been or is just being. Unknown tickets are
  // ignored.
  void cancel(Ticket ticket);
  // Ends every transfer and tells all who wait `reason`.
  void cancelAll(const std::exception_ptr& reason);

  struct Progress {
    ItemID uuid;
    std::uint64_t bytesDone = 0;
    std::uint64_t bytesTotal = 0;
  };
  [[nodiscard]] std::vector<Progress> running();

 private:
  struct Waiter {
    Ticket ticket;
    bool wantsCurrent;
    Done done;
  };
  // Guarded by the queue's lock, but for the numbers.
  struct Transfer : HydrationObserver {
    explicit Transfer(const ItemID& item) : uuid(item) {}
    void reached(HydrationStage) override {}
    void progressed(std::uint64_t done, std::uint64_t total) override {
      bytesDone = done;
      bytesTotal = total;
    }
    const ItemID uuid;
    std::vector<Waiter> waiters;
    std::vector<Waiter> nextWaiters;  // whom the transfer under way does not serve
    std::stop_source stop;
    bool running = false;
    bool fetchesCurrent = false;
    std::atomic<std::uint64_t> bytesDone{0};
    std::atomic<std::uint64_t> bytesTotal{0};
  };

  void work(const std::stop_token& stop);
  std::shared_ptr<Transfer> next(const std::stop_token& stop);
  std::exception_ptr run(Transfer& transfer);
  void finish(const std::shared_ptr<Transfer>& transfer, const std::exception_ptr& failure);

  Hydrator& _hydrator;
  std::mutex _lock;
  std::condition_variable_any _changed;
  std::unordered_map<ItemID, std::shared_ptr<Transfer>> _transfers;  // guarded by _lock
  std::deque<std::shared_ptr<Transfer>> _queue;                      // guarded by _lock
  std::unordered_map<Ticket, ItemID> _tickets;                       // guarded by _lock
  Ticket _lastTicket = 0;                                            // guarded by _lock
  std::vector<std::jthread> _workers;
};

}  // namespace tessera
