#include "skiff/feed/SingleRecord.h"

#include "skiff/feed/FeedPage.h"
#include "skiff/feed/RecordApplier.h"
#include "skiff/tree/GuardedChange.h"
#include "skiff/tree/TreeRecovery.h"

namespace tessera {

void applySingleRecord(const Record& record, std::int64_t container, ItemStore& store,
                       const SyncedTree& tree, ProblemList& problems) {
  FeedPage page;
  page.saves.push_back({container, DocumentRecord::fromRecord(record)});
  std::vector<std::int64_t> outdated;
  auto touched = [&page](const ItemTable& items) { return page.touchedFolders(items); };
  changeTree(store, tree, touched, [&](StoreWriter& writer) {
    RecordApplier applier(tree, writer, problems);
    applier.save(page.saves.front().record, container);
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
