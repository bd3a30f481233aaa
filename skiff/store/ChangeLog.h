#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "skiff/store/ItemStore.h"

namespace tessera {

// What happened in the store after some point, oldest first; an item that changed several times
// comes once, at its latest change.
struct ChangeBatch {
  struct Entry {
    std::int64_t seq = 0;
    std::optional<StoredItem> item;      // changed, or
    std::optional<Departure> departure;  // gone
  };
  std::vector<Entry> entries;
};

// Reads the store's sequence of changes.
//
// Working-set tokens are text: the store's generation, a full stop and a sequence number.
// Threads: any.
class ChangeLog {
 public:
  explicit ChangeLog(ItemStore& store);

  // At most `limit` changes after `since`, of all items. Departures to another folder are
  // among them only with `movesToo`.
  [[nodiscard]] ChangeBatch after(const ItemTable& items, std::int64_t since, std::uint64_t limit,
                                  bool movesToo) const;

  [[nodiscard]] std::string token(std::int64_t seq) const;
  // The sequence number in `token`; empty means 0. Throws SkiffError (TokenExpired) for a
  // token of another store, one that is broken or too old.
  [[nodiscard]] std::int64_t parse(const std::string& token, const ItemTable& items) const;

 private:
  const std::string _generation;
};

}  // namespace tessera
