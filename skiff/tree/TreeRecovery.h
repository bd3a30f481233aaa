#pragma once

#include <cstdint>
#include <vector>

#include "skiff/store/ItemStore.h"
#include "skiff/tree/SyncedTree.h"
#include "skiff/tree/TreeEditor.h"

namespace tessera {

// Settles what a crash left half done, before anything else uses the tree: a document that
// was being fetched is present when the whole content is there, and a placeholder otherwise;
// old content of a placeholder goes, unless a person changed it.
void recoverTree(ItemStore& store, const SyncedTree& tree);

// Removes the old content that stands at a placeholder's name, as its stamp tells. When a
// person changed it, the item is that content from now on.
void removeOldContent(StoreWriter& writer, TreeEditor& editor, StoredItem& item);

}  // namespace tessera
