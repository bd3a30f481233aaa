#pragma once

#include "skiff/store/StoreWriter.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Puts things back after a change of the tree that did not come to its end: in the folders that
// were noted as touched, every promise, file and folder that the store knows by its identity
// goes where its row says. What is a person's stays where it is.
//
// Being interrupted is fine: it begins anew. Ends the note.
void repairTree(StoreWriter& writer, const SyncedTree& tree);

}  // namespace tessera
