#pragma once

#include <cstdint>
#include <functional>
#include <set>

#include "skiff/store/ItemStore.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Changes the tree and the store together, so that a crash or a failure in between can be
// mended: which folders are touched is noted durably first, the change itself and the end of
// the note are one transaction. While the note stands, things in those folders may be anywhere
// among them, and repairTree() puts them back where the store says.
//
// `touched` names the rows of the folders, given what the store has; `change` may make, move
// and remove things in those and in folders that it adds. One such change at a time: callers
// are the feed and what goes ahead of it, each behind the gate.
void changeTree(ItemStore& store, const SyncedTree& tree,
                const std::function<std::set<std::int64_t>(const ItemTable&)>& touched,
                const ItemStore::Change& change);

}  // namespace tessera
