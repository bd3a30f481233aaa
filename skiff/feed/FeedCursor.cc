#include "skiff/feed/FeedCursor.h"

#include <algorithm>

#include "cloud/CloudError.h"
#include "skiff/feed/RecordApplier.h"
#include "skiff/feed/SingleRecord.h"
#include "skiff/tree/GuardedChange.h"

namespace tessera {

namespace {

constexpr const char* kTokenKey = "feedToken";
constexpr std::size_t kRemovedAtOnce = 500;

}  // namespace

FeedCursor::FeedCursor(ItemStore& store, const SyncedTree& tree, ProblemList& problems,
                       std::string accountName)
    : _store(store),
      _tree(tree),
      _problems(problems),
      _accountName(std::move(accountName)),
      _token(store.reader()->text(kTokenKey).value_or("")) {}

bool FeedCursor::catchUp(CloudDatabase& database, const std::stop_token& stop) {
  try {
    return follow(database, stop, nullptr);
  } catch (const CloudError& error) {
    if (error.code() != CloudError::Code::TokenExpired) throw;
  }
  ChangeToken expired = _token;
  Seen seen;
  try {
    _token.clear();
    if (!follow(database, stop, &seen)) {
      _token = expired;
      return false;
    }
    removeUnseen(seen, _token);
  } catch (...) {
    _token = expired;
    throw;
  }
  return true;
}

bool FeedCursor::follow(CloudDatabase& database, const std::stop_token& stop, Seen* seen) {
  for (;;) {
    if (stop.stop_requested()) return false;
    ChangePage page = database.changes(_token, kPageSize);
    bool nothing = page.changed.empty() && page.deleted.empty() && page.token == _token;
    if (!nothing) apply(page, database, seen);
    _token = page.token;
    if (!page.moreComing) return true;
  }
}

void FeedCursor::apply(const ChangePage& page, CloudDatabase& database, Seen* seen) {
  FeedPage prepared = FeedPage::prepare(page, database, _accountName, _store, _problems);
  std::vector<std::int64_t> outdated;
  auto touched = [&prepared](const ItemTable& items) { return prepared.touchedFolders(items); };
  changeTree(_store, _tree, touched, [&](StoreWriter& writer) {
    RecordApplier applier(_tree, writer, _problems);
    for (const FeedPage::Save& save : prepared.saves) applier.save(save.record, save.container);
    for (const FeedPage::Deletion& deletion : prepared.deletions) {
      applier.erase(deletion.container, deletion.recordName);
    }
    applier.finish();
    outdated = applier.outdated();
    if (seen == nullptr) {
      writer.setText(kTokenKey, page.token);
      return;
    }
    // Also records that could not be understood are there: their items stay.
    for (const Record& record : page.changed) {
      std::optional<StoredContainer> in = writer.items().container(record.id.zone.container);
      if (in) seen->insert(writer.items().identifierOfRecord(in->id, record.id.name));
    }
  });
  removeOutdatedContent(_store, _tree, outdated);
}

void FeedCursor::removeUnseen(const Seen& seen, const ChangeToken& token) {
  std::vector<std::int64_t> unseen;
  _store.reader()->forEachRecord([&seen, &unseen](std::int64_t row, const ItemID& uuid) {
    if (!seen.contains(uuid)) unseen.push_back(row);
  });
  for (std::size_t begin = 0; begin < unseen.size(); begin += kRemovedAtOnce) {
    std::size_t end = std::min(begin + kRemovedAtOnce, unseen.size());
    FeedPage page;
    {
      ItemStore::Reader reader = _store.reader();
      for (std::size_t index = begin; index < end; ++index) {
        std::optional<StoredItem> item = reader->find(unseen[index]);
        if (item) page.deletions.push_back({item->container, item->recordName});
      }
    }
    auto touched = [&page](const ItemTable& items) { return page.touchedFolders(items); };
    changeTree(_store, _tree, touched, [&](StoreWriter& writer) {
      RecordApplier applier(_tree, writer, _problems);
      for (const FeedPage::Deletion& deletion : page.deletions) {
        applier.erase(deletion.container, deletion.recordName);
      }
      applier.finish();
    });
  }
  _store.write([&token](StoreWriter& writer) { writer.setText(kTokenKey, token); });
}

}  // namespace tessera
