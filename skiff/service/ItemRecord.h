#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "protocol/item.capnp.h"
#include "skiff/store/ItemTable.h"

namespace tessera {

// An item with what clients want to know of its folder.
struct ItemRecord {
  StoredItem item;
  std::optional<ItemID> parent;  // none for the root
  bool parentIsRoot = false;
  bool isDead = false;  // then only item.uuid means anything

  [[nodiscard]] static ItemRecord dead(const ItemID& uuid);
  void encode(wire::Item::Builder builder) const;
};

// Makes records of items read from one state of the store; asks for each folder once.
class ItemDescriber {
 public:
  explicit ItemDescriber(const ItemTable& items) : _items(items) {}
  [[nodiscard]] ItemRecord describe(StoredItem item);
  [[nodiscard]] std::vector<ItemRecord> describe(std::vector<StoredItem> items);

 private:
  struct Folder {
    ItemID uuid;
    bool isRoot = false;
  };
  const ItemTable& _items;
  std::unordered_map<std::int64_t, std::optional<Folder>> _folders;
};

// Writes records into a list of a reply.
template <typename List>
void encodeItems(const std::vector<ItemRecord>& records, List list) {
  unsigned index = 0;
  for (const ItemRecord& record : records) record.encode(list[index++]);
}

}  // namespace tessera
