#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <unordered_map>
#include <vector>

#include "protocol/skiff.capnp.h"
#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"
#include "skiff/service/ItemRecord.h"
#include "skiff/store/ChangeLog.h"
#include "skiff/store/ItemStore.h"

namespace tessera {

// Tells watchers of committed changes in their folders.
//
// Nothing is queued for a watcher: it has a place in the store's sequence of changes and is
// sent what comes after it, at most kBatch items at a time and the next batch only after the
// answer to the one before. An item that changes many times meanwhile is sent once.
// Threads: as the methods say; one thread of its own reads the store.
// Lifetime: stop() before the loop ends.
class WatcherHub {
 public:
  using Receiver = LoopBound<wire::UpdateReceiver::Client>;
  using Key = std::uint64_t;

  static constexpr std::size_t kBatch = 200;

  struct Watch {
    std::int64_t folder = 0;  // row
    bool subtree = false;
    std::int64_t since = 0;  // place in the sequence
  };

  WatcherHub(EventLoop& loop, ItemStore& store);
  ~WatcherHub();
  WatcherHub(const WatcherHub&) = delete;
  WatcherHub& operator=(const WatcherHub&) = delete;

  // Any thread.
  Key add(const Watch& watch, Receiver receiver);
  void remove(Key key);
  // To be called after each commit; quick. Any thread.
  void committed();
  void stop();

 private:
  struct Watcher {
    Watch watch;
    Receiver receiver;
    bool inFlight = false;
  };
  struct Due {
    Key key;
    Watch watch;
    Receiver receiver;
  };

  void run(const std::stop_token& stop);
  std::vector<Due> takeDue(const std::stop_token& stop);
  void serve(Due due);
  void send(const Due& due, std::vector<ItemRecord> records, std::int64_t upTo);
  void answered(Key key, std::int64_t upTo);

  EventLoop& _loop;
  ItemStore& _store;
  const ChangeLog _changes;
  std::mutex _lock;
  std::condition_variable_any _wake;
  std::unordered_map<Key, Watcher> _watchers;  // guarded by _lock
  Key _lastKey = 0;                            // guarded by _lock
  std::jthread _thread;
};

}  // namespace tessera
