#pragma once

#include <cstdint>
#include <vector>

#include "cloud/CloudDatabase.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Applies one record that was asked for by name, ahead of the feed, which passes over it later.
void applySingleRecord(const Record& record, std::int64_t container, ItemStore& store,
                       const SyncedTree& tree, ProblemList& problems);

// Second step for documents that got new content while they were present: their old content
// goes. Rows that need nothing are passed over.
void removeOutdatedContent(ItemStore& store, const SyncedTree& tree,
                           const std::vector<std::int64_t>& rows);

}  // namespace tessera
