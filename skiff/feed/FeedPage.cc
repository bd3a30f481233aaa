#include "skiff/feed/FeedPage.h"

#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include "cloud/CloudError.h"

namespace tessera {

namespace {

using RecordKey = std::pair<std::int64_t, std::string>;

class PageBuilder {
 public:
  PageBuilder(CloudDatabase& database, const std::string& accountName, ItemStore& store,
              ProblemList& problems)
      : _database(database),
        _accountName(accountName),
        _reader(store.reader()),
        _problems(problems) {
    for (const StoredContainer& container : _reader->containers()) {
      _containers[container.identifier] = container.id;
    }
  }

  void addSave(const Record& record) {
    std::optional<std::int64_t> container = containerOf(record.id.zone);
    if (!container) return;
    std::string about = "record " + record.id.zone.container + "/" + record.id.name;
    try {
      DocumentRecord document = DocumentRecord::fromRecord(record);
      _index[{*container, record.id.name}] = _saves.size();
      _saves.push_back({*container, std::move(document)});
      _problems.settle(about);
    } catch (const CloudError& error) {
      _problems.report(about, std::string("Left out of the tree: ") + error.what());
    }
  }

  void addDeletion(const RecordID& id) {
    if (std::optional<std::int64_t> container = containerOf(id.zone)) {
      _deletions.push_back({*container, id.name});
    }
  }

  // Adds what was parked below the folders of this page, and below those, and so on.
  void addParked() {
    if (_reader->parkedCount() == 0) return;
    for (std::size_t next = 0; next < _saves.size(); ++next) {
      if (_saves[next].record.kind != DocumentKind::Folder) continue;
      std::vector<RecordID> ids;
      for (const ParkedRecord& parked :
           _reader->parkedBelow(_saves[next].container, _saves[next].record.id.name)) {
        if (_index.contains({parked.container, parked.recordName})) continue;
        ids.push_back({_saves[next].record.id.zone, parked.recordName});
      }
      if (ids.empty()) continue;
      for (const Record& record : _database.records(ids)) addSave(record);
    }
  }

  FeedPage finish() {
    FeedPage page;
    page.saves.reserve(_saves.size());
    _placed.assign(_saves.size(), false);
    for (std::size_t index = 0; index < _saves.size(); ++index) place(index, page);
    page.deletions = std::move(_deletions);
    return page;
  }

 private:
  std::optional<std::int64_t> containerOf(const ZoneID& zone) {
    auto found = _containers.find(zone.container);
    if (found != _containers.end() && zone.owner == _accountName) return found->second;
    _problems.report("zone " + zone.owner + "/" + zone.container,
                     "Left out of the tree: documents of the container " + zone.container +
                         ", which the cloud does not list");
    return std::nullopt;
  }

  // Appends the record's folders that are in the page, outermost first, and then itself.
  void place(std::size_t index, FeedPage& page) {
    std::vector<std::size_t> chain;
    for (std::optional<std::size_t> at = index; at && !_placed[*at];) {
      _placed[*at] = true;  // also ends a cycle of folders
      chain.push_back(*at);
      auto parent = _index.find({_saves[*at].container, _saves[*at].record.parent});
      at = parent == _index.end() ? std::nullopt : std::optional(parent->second);
    }
    for (auto at = chain.rbegin(); at != chain.rend(); ++at) {
      page.saves.push_back(std::move(_saves[*at]));
    }
  }

  CloudDatabase& _database;
  const std::string& _accountName;
  ItemStore::Reader _reader;
  ProblemList& _problems;
  std::unordered_map<std::string, std::int64_t> _containers;
  std::vector<FeedPage::Save> _saves;
  std::vector<FeedPage::Deletion> _deletions;
  std::map<RecordKey, std::size_t> _index;  // into _saves
  std::vector<bool> _placed;
};

void touchSubtree(const ItemTable& items, std::int64_t folder, std::set<std::int64_t>& folders) {
  std::vector<std::int64_t> inner;
  items.forEachChild(folder, [&inner](const StoredItem& child) {
    if (child.isFolder()) inner.push_back(child.id);
  });
  folders.insert(folder);
  for (std::int64_t next : inner) touchSubtree(items, next, folders);
}

void touchSave(const ItemTable& items, const FeedPage::Save& save,
               std::set<std::int64_t>& folders) {
  if (auto item = items.itemOfRecord(save.container, save.record.id.name)) {
    folders.insert(item->parent);
    bool otherKind = item->isFolder() != (save.record.kind == DocumentKind::Folder);
    if (otherKind && item->isFolder()) touchSubtree(items, item->id, folders);
  }
  if (save.record.parent == kDocumentsFolderRecord) {
    if (auto container = items.container(save.container)) folders.insert(container->folder);
  } else if (auto parent = items.itemOfRecord(save.container, save.record.parent)) {
    folders.insert(parent->id);
  }
}

}  // namespace

std::set<std::int64_t> FeedPage::touchedFolders(const ItemTable& items) const {
  std::set<std::int64_t> folders;
  for (const Save& save : saves) touchSave(items, save, folders);
  for (const Deletion& deletion : deletions) {
    if (auto item = items.itemOfRecord(deletion.container, deletion.recordName)) {
      folders.insert(item->parent);
      if (item->isFolder()) touchSubtree(items, item->id, folders);
    }
  }
  return folders;
}

FeedPage FeedPage::prepare(const ChangePage& page, CloudDatabase& database,
                           const std::string& accountName, ItemStore& store,
                           ProblemList& problems) {
  PageBuilder builder(database, accountName, store, problems);
  for (const Record& record : page.changed) builder.addSave(record);
  for (const RecordID& id : page.deleted) builder.addDeletion(id);
  builder.addParked();
  return builder.finish();
}

}  // namespace tessera
