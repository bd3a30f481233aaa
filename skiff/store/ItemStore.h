#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "skiff/store/ItemTable.h"
#include "skiff/store/StoreWriter.h"

namespace tessera {

// Everything the daemon knows of its items, in a file.
//
// One writer at a time, behind a lock that is also the tree's gate (see StoreWriter); any number
// of readers beside it, each seeing the state after some commit.
//
// Invariant: an item's folder is in the store. Names are unique in a folder.
// Threads: any.
class ItemStore {
 public:
  using Change = std::function<void(StoreWriter&)>;

  // Opens or makes the store. Throws SkiffError (NewerVersion) and SqliteError.
  explicit ItemStore(std::filesystem::path file);
  ~ItemStore();
  ItemStore(const ItemStore&) = delete;
  ItemStore& operator=(const ItemStore&) = delete;

  // A connection to read with, given back when this is destroyed.
  class Reader {
   public:
    Reader(Reader&&) = default;
    ~Reader();
    [[nodiscard]] const ItemTable& operator*() const { return *_table; }
    [[nodiscard]] const ItemTable* operator->() const { return _table.get(); }
    // One state of the store for several questions, until the reader is given back.
    void beginSnapshot();

   private:
    friend class ItemStore;
    Reader(ItemStore& store, std::unique_ptr<Database> database);
    ItemStore* _store;
    std::unique_ptr<Database> _database;
    std::unique_ptr<ItemTable> _table;
    bool _inSnapshot = false;
  };
  [[nodiscard]] Reader reader();

  // Runs `change` in a transaction of its own; durable when this returns. An exception of
  // `change` undoes it and comes out here.
  void write(const Change& change);
  // The same, but changes of several threads share one transaction, and its one flush.
  void writeTogether(const Change& change);

  // Held by whoever changes the tree in several transactions that belong together.
  class ExclusiveChange {
   public:
    explicit ExclusiveChange(ItemStore& store) : _lock(store._changeLock) {}

   private:
    std::lock_guard<std::mutex> _lock;
  };

  // Called after every commit, behind the gate: must be quick and must not call back. To be
  // set before other threads use the store.
  void setCommitListener(std::function<void()> listener) { _listener = std::move(listener); }

  // The number of the latest committed change.
  [[nodiscard]] std::int64_t sequence() const { return _sequence.load(); }

 private:
  struct GroupEntry {
    const Change* change;
    std::exception_ptr failure;
    bool done = false;
  };
  void runGroup(const std::vector<GroupEntry*>& group);
  void runInSavepoint(StoreWriter& writer, GroupEntry& entry);
  void commit(StoreWriter& writer);
  void giveBack(std::unique_ptr<Database> database) noexcept;
  void dropOldTombstones();

  const std::filesystem::path _file;
  std::function<void()> _listener;
  std::atomic<std::int64_t> _sequence{0};

  std::mutex _changeLock;             // before _gate
  std::mutex _gate;                   // held through a whole write transaction
  std::unique_ptr<Database> _writer;  // guarded by _gate

  std::mutex _groupLock;
  std::condition_variable _groupChanged;
  std::vector<GroupEntry*> _group;  // guarded by _groupLock
  bool _groupHasLeader = false;     // guarded by _groupLock

  std::mutex _readersLock;
  std::vector<std::unique_ptr<Database>> _readers;  // guarded by _readersLock; idle ones
};

}  // namespace tessera
