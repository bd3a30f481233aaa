#include "skiff/tree/GuardedChange.h"

#include "skiff/tree/TreeRepair.h"

namespace tessera {

void changeTree(ItemStore& store, const SyncedTree& tree,
                const std::function<std::set<std::int64_t>(const ItemTable&)>& touched,
                const ItemStore::Change& change) {
  ItemStore::ExclusiveChange exclusive(store);
  if (!store.reader()->touched().empty()) {
    store.write([&tree](StoreWriter& writer) { repairTree(writer, tree); });
  }
  store.write([&touched](StoreWriter& writer) {
    for (std::int64_t folder : touched(writer.items())) writer.touch(folder);
  });
  store.write([&change](StoreWriter& writer) {
    change(writer);
    writer.clearTouched();
  });
}

}  // namespace tessera
