#include "skiff/feed/SingleRecord.h"

#include "skiff/feed/RecordApplier.h"
#include "skiff/tree/TreeRecovery.h"

namespace tessera {

void applySingleRecord(const Record& record, std::int64_t container, ItemStore& store,
                       const SyncedTree& tree, ProblemList& problems) {
  DocumentRecord document = DocumentRecord::fromRecord(record);
  std::vector<std::int64_t> outdated;
  store.write([&](StoreWriter& writer) {
    RecordApplier applier(tree, writer, problems);
    applier.save(document, container);
    applier.finish();
    outdated = applier.outdated();
  });
  removeOutdatedContent(store, tree, outdated);
}

void removeOutdatedContent(ItemStore& store, const SyncedTree& tree,
                           const std::vector<std::int64_t>& rows) {
  if (rows.empty()) return;
  store.write([&tree, &rows](StoreWriter& writer) {
    TreeEditor editor(tree, writer.items());
    for (std::int64_t row : rows) {
      std::optional<StoredItem> item = writer.items().find(row);
      if (!item || item->state != ContentState::Placeholder || !item->stamp) continue;
      removeOldContent(writer, editor, *item);
    }
  });
}

}  // namespace tessera
