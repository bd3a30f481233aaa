#include "skiff/service/WatcherHub.h"

#include <algorithm>

namespace tessera {

namespace {

bool isInScope(const ItemTable& items, std::int64_t row, std::int64_t parent,
               const WatcherHub::Watch& watch) {
  if (parent == watch.folder) return true;
  return watch.subtree && row != watch.folder && items.isWithin(parent, watch.folder);
}

// What a watcher is to be told of an entry, if anything.
std::optional<ItemRecord> recordFor(const ChangeBatch::Entry& entry, const ItemTable& items,
                                    ItemDescriber& describer, const WatcherHub::Watch& watch) {
  if (entry.item) {
    if (!isInScope(items, entry.item->id, entry.item->parent, watch)) return std::nullopt;
    return describer.describe(*entry.item);
  }
  const Departure& departure = *entry.departure;
  if (!isInScope(items, departure.id, departure.parent, watch)) return std::nullopt;
  if (!departure.dead) {
    // Moved: gone for the watcher unless it is in its scope where it is now.
    std::optional<StoredItem> now = items.find(departure.id);
    if (now && isInScope(items, now->id, now->parent, watch)) return std::nullopt;
  }
  return ItemRecord::dead(departure.uuid);
}

}  // namespace

WatcherHub::WatcherHub(EventLoop& loop, ItemStore& store)
    : _loop(loop),
      _store(store),
      _changes(store),
      _thread([this](std::stop_token stop) { run(stop); }) {}

WatcherHub::~WatcherHub() {
  stop();
}

void WatcherHub::stop() {
  _thread.request_stop();
  if (_thread.joinable()) _thread.join();
  std::lock_guard lock(_lock);
  _watchers.clear();
}

WatcherHub::Key WatcherHub::add(const Watch& watch, Receiver receiver) {
  std::lock_guard lock(_lock);
  Key key = ++_lastKey;
  _watchers.emplace(key, Watcher{watch, std::move(receiver), false});
  _wake.notify_one();
  return key;
}

void WatcherHub::remove(Key key) {
  std::lock_guard lock(_lock);
  _watchers.erase(key);
}

void WatcherHub::committed() {
  std::lock_guard lock(_lock);
  _wake.notify_one();
}

void WatcherHub::run(const std::stop_token& stop) {
  for (;;) {
    std::vector<Due> due = takeDue(stop);
    if (stop.stop_requested()) return;
    for (Due& one : due) serve(std::move(one));
  }
}

std::vector<WatcherHub::Due> WatcherHub::takeDue(const std::stop_token& stop) {
  std::vector<Due> due;
  std::unique_lock lock(_lock);
  _wake.wait(lock, stop, [this, &due] {
    std::int64_t latest = _store.sequence();
    for (auto& [key, watcher] : _watchers) {
      if (watcher.inFlight || watcher.watch.since >= latest) continue;
      watcher.inFlight = true;
      due.push_back({key, watcher.watch, watcher.receiver});
    }
    return !due.empty();
  });
  return due;
}

void WatcherHub::serve(Due due) {
  ItemStore::Reader reader = _store.reader();
  reader.beginSnapshot();
  ItemDescriber describer(*reader);
  std::vector<ItemRecord> records;
  std::int64_t upTo = due.watch.since;
  for (;;) {
    ChangeBatch batch = _changes.after(*reader, upTo, kBatch, true);
    for (const ChangeBatch::Entry& entry : batch.entries) {
      upTo = entry.seq;
      if (auto record = recordFor(entry, *reader, describer, due.watch)) {
        records.push_back(std::move(*record));
        if (records.size() == kBatch) break;
      }
    }
    if (batch.entries.empty() || records.size() == kBatch) break;
  }
  if (records.empty()) {
    // What this snapshot has is seen, its bookkeeping of numbers included.
    answered(due.key, std::max(upTo, reader->number("sequence")));
    return;
  }
  send(due, std::move(records), upTo);
}

void WatcherHub::send(const Due& due, std::vector<ItemRecord> records, std::int64_t upTo) {
  _loop.post([this, key = due.key, receiver = due.receiver, records = std::move(records), upTo] {
    auto request = receiver.get().receiveUpdatesRequest();
    encodeItems(records, request.initUpdates(static_cast<unsigned>(records.size())));
    _loop.add(request.send().then([this, key, upTo](auto&&) { answered(key, upTo); },
                                  [this, key](kj::Exception&&) { remove(key); }));
  });
}

void WatcherHub::answered(Key key, std::int64_t upTo) {
  std::lock_guard lock(_lock);
  auto found = _watchers.find(key);
  if (found == _watchers.end()) return;
  found->second.inFlight = false;
  found->second.watch.since = upTo;
  _wake.notify_one();
}

}  // namespace tessera
