#include "skiff/transfer/TransferQueue.h"

#include <algorithm>
#include <iterator>

#include "skiff/store/SkiffError.h"

namespace tessera {

TransferQueue::TransferQueue(Hydrator& hydrator, unsigned atOnce) : _hydrator(hydrator) {
  for (unsigned worker = 0; worker < atOnce; ++worker) {
    _workers.emplace_back([this](std::stop_token stop) { work(stop); });
  }
}

TransferQueue::~TransferQueue() {
  for (std::jthread& worker : _workers) worker.request_stop();
  cancelAll(std::make_exception_ptr(
      SkiffError(SkiffError::Code::Cancelled, "The sync daemon is ending.")));
  _workers.clear();
}

TransferQueue::Ticket TransferQueue::request(const ItemID& uuid, bool wantsCurrent, Done done) {
  std::lock_guard lock(_lock);
  Ticket ticket = ++_lastTicket;
  _tickets.emplace(ticket, uuid);
  Waiter waiter{ticket, wantsCurrent, std::move(done)};
  std::shared_ptr<Transfer>& transfer = _transfers[uuid];
  if (!transfer) {
    transfer = std::make_shared<Transfer>(uuid);
    _queue.push_back(transfer);
    _changed.notify_one();
  }
  bool served = !transfer->running ||
                (!transfer->stop.stop_requested() && (!wantsCurrent || transfer->fetchesCurrent));
  (served ? transfer->waiters : transfer->nextWaiters).push_back(std::move(waiter));
  return ticket;
}

void TransferQueue::cancel(Ticket ticket) {
  std::lock_guard lock(_lock);
  auto found = _tickets.find(ticket);
  if (found == _tickets.end()) return;
  auto at = _transfers.find(found->second);
  _tickets.erase(found);
  if (at == _transfers.end()) return;
  Transfer& transfer = *at->second;
  auto isIt = [ticket](const Waiter& waiter) { return waiter.ticket == ticket; };
  std::erase_if(transfer.waiters, isIt);
  std::erase_if(transfer.nextWaiters, isIt);
  if (!transfer.waiters.empty()) return;
  if (transfer.running) {
    transfer.stop.request_stop();
  } else {
    std::erase(_queue, at->second);
    _transfers.erase(at);
  }
}

void TransferQueue::cancelAll(const std::exception_ptr& reason) {
  std::vector<Waiter> waiters;
  {
    std::lock_guard lock(_lock);
    for (auto at = _transfers.begin(); at != _transfers.end();) {
      Transfer& transfer = *at->second;
      for (auto* list : {&transfer.waiters, &transfer.nextWaiters}) {
        std::move(list->begin(), list->end(), std::back_inserter(waiters));
        list->clear();
      }
      transfer.stop.request_stop();
      at = transfer.running ? std::next(at) : _transfers.erase(at);
    }
    _queue.clear();
    _tickets.clear();
  }
  for (const Waiter& waiter : waiters) waiter.done(reason);
}

std::vector<TransferQueue::Progress> TransferQueue::running() {
  std::lock_guard lock(_lock);
  std::vector<Progress> result;
  for (const auto& [uuid, transfer] : _transfers) {
    if (transfer->running) result.push_back({uuid, transfer->bytesDone, transfer->bytesTotal});
  }
  return result;
}

void TransferQueue::work(const std::stop_token& stop) {
  while (std::shared_ptr<Transfer> transfer = next(stop)) finish(transfer, run(*transfer));
}

std::shared_ptr<TransferQueue::Transfer> TransferQueue::next(const std::stop_token& stop) {
  std::unique_lock lock(_lock);
  if (!_changed.wait(lock, stop, [this] { return !_queue.empty(); })) return nullptr;
  if (stop.stop_requested()) return nullptr;
  std::shared_ptr<Transfer> transfer = std::move(_queue.front());
  _queue.pop_front();
  transfer->running = true;
  transfer->fetchesCurrent = std::any_of(transfer->waiters.begin(), transfer->waiters.end(),
                                         [](const Waiter& waiter) { return waiter.wantsCurrent; });
  return transfer;
}

std::exception_ptr TransferQueue::run(Transfer& transfer) {
  try {
    _hydrator.hydrate(transfer.uuid, transfer.fetchesCurrent, transfer, transfer.stop.get_token());
    return nullptr;
  } catch (...) {
    return std::current_exception();
  }
}

void TransferQueue::finish(const std::shared_ptr<Transfer>& transfer,
                           const std::exception_ptr& failure) {
  std::vector<Waiter> waiters;
  {
    std::lock_guard lock(_lock);
    waiters = std::exchange(transfer->waiters, {});
    for (const Waiter& waiter : waiters) _tickets.erase(waiter.ticket);
    if (transfer->nextWaiters.empty()) {
      _transfers.erase(transfer->uuid);
    } else {
      transfer->waiters = std::exchange(transfer->nextWaiters, {});
      transfer->stop = std::stop_source();
      transfer->running = false;
      _queue.push_back(transfer);
      _changed.notify_one();
    }
  }
  for (const Waiter& waiter : waiters) waiter.done(failure);
}

}  // namespace tessera
