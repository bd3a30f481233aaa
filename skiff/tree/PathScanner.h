#pragma once

#include <string>

#include "skiff/store/ItemStore.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Looks at one path on disk as if a change had just been reported there, and brings the store
// up to date with it: files and folders that nobody knew become items that are not uploaded
// yet, a document that was written is noted as changed. That something is missing decides
// nothing: only whoever watches the tree knows what was deleted and what was moved.
//
// Threads: any.
class PathScanner {
 public:
  PathScanner(ItemStore& store, const SyncedTree& tree) : _store(store), _tree(tree) {}

  // The item at `relativePath`. Throws SkiffError: NoSuchItem; NotSupported for what can be
  // no item (links, special files, names that cannot be shared).
  [[nodiscard]] StoredItem scan(const std::string& relativePath);

 private:
  StoredItem scanEntry(StoreWriter& writer, const StoredItem& folder, int folderDescriptor,
                       const std::string& name, const std::string& relativePath);

  ItemStore& _store;
  const SyncedTree& _tree;
};

}  // namespace tessera
