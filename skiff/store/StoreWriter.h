#pragma once

#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "skiff/store/ItemTable.h"

namespace tessera {

// A write transaction of the item store, lent by ItemStore::write. It is also the tree's gate:
// **whoever makes, moves or removes anything of ours in the tree holds it**, so that what the
// store says and what the tree shows change under one lock.
//
// Every change of an item takes the next number of the sequence.
// Threads: the one it was lent to.
class StoreWriter {
 public:
  // The store as this transaction sees it.
  [[nodiscard]] const ItemTable& items() const { return _items; }

  // Adds `item`; sets its id and seq. Its folder must be there (except the root's).
  void insert(StoredItem& item);
  // Replaces what is kept of item.id, except for the count of children; sets its seq.
  void update(StoredItem& item);
  // Takes the item away and leaves a tombstone. It must have no children.
  void remove(const StoredItem& item);

  void insertContainer(StoredContainer& container);
  void updateContainer(const StoredContainer& container);
  void park(const ParkedRecord& record);
  void unpark(std::int64_t container, const std::string& recordName);

  void touch(std::int64_t folder);
  void clearTouched();

  void setText(std::string_view key, std::string_view value);
  void setNumber(std::string_view key, std::int64_t value);
  void clear(std::string_view key);

  // Runs `action` after the commit, still behind the gate. It must not throw.
  void afterCommit(std::function<void()> action) { _afterCommit.push_back(std::move(action)); }

 private:
  friend class ItemStore;
  StoreWriter(Database& database, std::int64_t sequence) : _items(database), _sequence(sequence) {}

  std::int64_t nextSequence() { return ++_sequence; }
  void depart(const StoredItem& item, std::int64_t parent, bool dead);
  // Brings the folders' counts of children up to date.
  void settleCounts();

  ItemTable _items;
  std::int64_t _sequence;
  std::unordered_map<std::int64_t, std::int64_t> _childrenChange;  // by folder
  std::vector<std::function<void()>> _afterCommit;
};

}  // namespace tessera
