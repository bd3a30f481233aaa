#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cloud/DocumentRecord.h"
#include "skiff/feed/NameChooser.h"
#include "skiff/store/ProblemList.h"
#include "skiff/store/StoreWriter.h"
#include "skiff/tree/TreeEditor.h"

namespace tessera {

// Brings records of the cloud into the store and the tree, inside a change of changeTree().
//
// Every step on disk comes before the transaction's commit; after a crash the tree is repaired
// and the records, or what has become of them meanwhile, are applied once more. One thing is
// removed only after the commit: old content of a document that has become a placeholder, see
// outdated().
//
// Invariant: a file that differs from what was noted is never replaced or removed; its item is
// marked as not uploaded and reported.
// Lifetime: one write transaction.
class RecordApplier {
 public:
  RecordApplier(const SyncedTree& tree, StoreWriter& writer, ProblemList& problems);

  // Folders must come before what is in them, as far as they come together. A record whose
  // folder is not known is parked until that comes.
  void save(const DocumentRecord& record, std::int64_t container);
  void erase(std::int64_t container, const std::string& recordName);
  // Gives names that became free to whoever waits for them, and brings links up to date.
  // To be called last.
  void finish();

  // Rows of documents whose old content is still to be removed, with removeOldContent(), once
  // the transaction is committed.
  [[nodiscard]] const std::vector<std::int64_t>& outdated() const { return _outdated; }

 private:
  // Row of the record's folder; nullopt when it is not known, or is no folder.
  [[nodiscard]] std::optional<std::int64_t> parentOf(const DocumentRecord& record,
                                                     std::int64_t container);
  void park(const DocumentRecord& record, std::int64_t container);
  void add(const DocumentRecord& record, std::int64_t container, std::int64_t parent);
  void addFolder(StoredItem& item);
  void change(StoredItem item, const DocumentRecord& record, std::int64_t parent);
  void changeContent(StoredItem& item, const DocumentRecord& record);
  void changeLocalContent(StoredItem& item, const DocumentRecord& record);
  void changeAttributes(StoredItem& item, const DocumentRecord& record);

  // False when something of a person's keeps the item alive on this device.
  bool remove(const StoredItem& item);
  bool removeFolder(StoredItem item);
  bool removeChild(const StoredItem& child);
  void keepAsLocal(StoredItem item);
  void noteLocalChange(StoredItem& item);
  void refreshLinks();
  void reportPath(const StoredItem& item, const std::string& what);

  const SyncedTree& _tree;
  StoreWriter& _writer;
  const ItemTable& _items;
  ProblemList& _problems;
  TreeEditor _editor;
  NameChooser _names;
  // The folder asked for last: records of one folder come one after another.
  struct {
    std::int64_t container = 0;
    std::string recordName;
    std::int64_t row = 0;
  } _lastParent;
  bool _placesChanged = false;
  std::vector<std::int64_t> _outdated;
};

}  // namespace tessera
