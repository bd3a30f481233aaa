#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/transfer/ContentSource.h"
#include "skiff/transfer/HydrationObserver.h"
#include "skiff/tree/StagedFile.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Makes one document's content present.
//
// In this order: the store says that it is hydrating, durably; the content goes into a file
// without a name while it is hashed; hash and size are checked; mode and date are set and all is
// made durable; the file gets its name; the store says that it is local, durably; the promise
// goes. A crash before the naming leaves a placeholder, one after it the whole document, and
// recoverTree() finds out which. No file of a person's is ever replaced.
//
// Threads: any; one transfer of an item at a time.
class Hydrator {
 public:
  Hydrator(ItemStore& store, const SyncedTree& tree, ContentSource& source, ProblemList& problems)
      : _store(store), _tree(tree), _source(source), _problems(problems) {}

  // True, without asking anyone, when the content is there as it was noted.
  [[nodiscard]] bool isPresent(const ItemID& uuid);

  // Returns once the content is there. With `wantsCurrent` the cloud is asked for a later
  // version first. Throws SkiffError, CloudError, SqliteError, std::system_error; the item is a
  // placeholder again then.
  void hydrate(const ItemID& uuid, bool wantsCurrent, HydrationObserver& observer,
               const std::stop_token& stop);

 private:
  enum class Outcome { Done, Outdated, NameTaken };

  // Notes that the item is hydrating; nullopt when its content is there.
  std::optional<StoredItem> begin(const ItemID& uuid, bool wantsCurrent);
  bool settleLocal(StoreWriter& writer, const StoredItem& item, bool wantsCurrent);
  Outcome transfer(const StoredItem& item, HydrationObserver& observer,
                   const std::stop_token& stop);
  void fill(StagedFile& file, const StoredItem& item, HydrationObserver& observer,
            const std::stop_token& stop);
  void verify(StagedFile& file, const StoredItem& item);
  Outcome publish(StagedFile& file, const FileStamp& sealed, const StoredItem& item,
                  HydrationObserver& observer);
  // Takes a file of a person's as the item's content if that is what it is.
  void adopt(const ItemID& uuid);
  void noteLocal(StoreWriter& writer, StoredItem& item, const FileStamp& stamp);
  void giveUp(const ItemID& uuid) noexcept;
  [[nodiscard]] std::string pathOf(const StoredItem& item);

  ItemStore& _store;
  const SyncedTree& _tree;
  ContentSource& _source;
  ProblemList& _problems;
};

}  // namespace tessera
