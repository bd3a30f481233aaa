#include "skiff/store/ItemTable.h"

#include <algorithm>

#include "skiff/store/ItemRow.h"
#include "skiff/store/PromiseName.h"

namespace tessera {

namespace {

// No path is deeper: PATH_MAX bounds what applications can name, and a broken store must
// not send a loop through a cycle for ever.
constexpr int kMaxDepth = 4096;

const std::string kSelect = std::string("SELECT ") + kItemColumns + "FROM items ";
const std::string kById = kSelect + "WHERE id = ?";
const std::string kByUuid = kSelect + "WHERE uuid = ?";
const std::string kByName = kSelect + "WHERE parent = ? AND fold = ? AND name = ?";
const std::string kRoot = kSelect + "WHERE parent = 0 LIMIT 1";
const std::string kByOtherRecord =
    kSelect + "INDEXED BY items_by_other_record WHERE container = ? AND recordName = ?";
const std::string kByInode = kSelect + "INDEXED BY items_by_inode WHERE inode = ?";
const std::string kWaiting = kSelect + "WHERE parent = ? AND cloudName = ? ORDER BY uuid";
const std::string kChildren = kSelect + "WHERE parent = ? ORDER BY fold, name";
const std::string kReferences =
    kSelect + "INDEXED BY references_by_target WHERE targetRecord IS NOT NULL";

std::optional<StoredItem> one(Statement statement) {
  if (!statement.step()) return std::nullopt;
  return readItem(statement);
}

std::vector<StoredItem> all(Statement statement) {
  std::vector<StoredItem> items;
  while (statement.step()) items.push_back(readItem(statement));
  return items;
}

StoredContainer readContainer(const Statement& row) {
  return {row.int64(0), row.string(1), row.string(2), row.int64(3)};
}

}  // namespace

std::optional<StoredItem> ItemTable::find(std::int64_t id) const {
  return one(_database.query(kById, id));
}

std::optional<StoredItem> ItemTable::find(const ItemID& uuid) const {
  return one(_database.query(kByUuid, BlobView(uuid.bytes())));
}

std::optional<StoredItem> ItemTable::child(std::int64_t folder, std::string_view name) const {
  return one(_database.query(kByName, folder, foldedName(name), name));
}

std::optional<StoredItem> ItemTable::root() const {
  return one(_database.query(kRoot));
}

ItemID ItemTable::identifierOfRecord(std::int64_t container, const std::string& recordName) const {
  // Another device finds the same identifier: it depends on nothing but the record, unless
  // two containers use one record name, and then the later of them gets a derived one.
  if (std::optional<ItemID> uuid = ItemID::fromString(recordName)) {
    std::optional<StoredItem> holder = find(*uuid);
    if (!holder || (holder->container == container && holder->role == ItemRole::Ordinary)) {
      return *uuid;
    }
  }
  std::optional<StoredContainer> in = this->container(container);
  return ItemID::derived("record\n" + (in ? in->identifier : "") + "\n" + recordName);
}

std::optional<StoredItem> ItemTable::itemOfRecord(std::int64_t container,
                                                  const std::string& recordName) const {
  if (std::optional<ItemID> uuid = ItemID::fromString(recordName)) {
    std::optional<StoredItem> item = find(*uuid);
    if (item && item->container == container && item->role == ItemRole::Ordinary) return item;
  }
  return one(_database.query(kByOtherRecord, container, recordName));
}

std::optional<std::string> ItemTable::path(std::int64_t id) const {
  std::vector<std::string> names;
  for (int depth = 0; depth < kMaxDepth; ++depth) {
    Statement row = _database.query("SELECT parent, name FROM items WHERE id = ?", id);
    if (!row.step()) return std::nullopt;
    id = row.int64(0);
    if (id == 0) {
      std::string path;
      for (auto name = names.rbegin(); name != names.rend(); ++name) {
        if (!path.empty()) path.push_back('/');
        path += *name;
      }
      return path;
    }
    names.push_back(row.string(1));
  }
  return std::nullopt;
}

std::optional<StoredItem> ItemTable::itemAt(std::string_view relativePath) const {
  std::optional<StoredItem> item = root();
  while (item && !relativePath.empty()) {
    std::size_t length = std::min(relativePath.find('/'), relativePath.size());
    std::string_view name = relativePath.substr(0, length);
    relativePath.remove_prefix(std::min(length + 1, relativePath.size()));
    if (name.empty()) continue;
    std::int64_t folder = item->id;
    if (std::optional<ItemID> uuid = itemOfPromise(name)) {
      item = find(*uuid);
      if (item && item->parent != folder) return std::nullopt;
    } else {
      item = child(folder, name);
    }
  }
  return item;
}

bool ItemTable::isWithin(std::int64_t id, std::int64_t ancestor) const {
  for (int depth = 0; depth < kMaxDepth && id != 0; ++depth) {
    if (id == ancestor) return true;
    Statement row = _database.query("SELECT parent FROM items WHERE id = ?", id);
    if (row.step()) {
      id = row.int64(0);
      continue;
    }
    Statement gone = _database.query("SELECT parent FROM departures WHERE id = ? AND dead = 1", id);
    if (!gone.step()) return false;
    id = gone.int64(0);
  }
  return false;
}

std::vector<StoredItem> ItemTable::waitingForName(std::int64_t folder,
                                                  std::string_view name) const {
  return all(_database.query(kWaiting, folder, name));
}

void ItemTable::forEachChild(std::int64_t folder,
                             const std::function<void(const StoredItem&)>& use) const {
  Statement row = _database.query(kChildren, folder);
  while (row.step()) use(readItem(row));
}

std::vector<std::int64_t> ItemTable::unsettled() const {
  Statement row = _database.query(
      "SELECT id FROM items INDEXED BY items_unsettled "
      "WHERE kind = 1 AND (state = 1 OR (state = 0 AND inode IS NOT NULL))");
  std::vector<std::int64_t> ids;
  while (row.step()) ids.push_back(row.int64(0));
  return ids;
}

std::vector<StoredItem> ItemTable::references() const {
  return all(_database.query(kReferences));
}

void ItemTable::forEachRecord(const std::function<void(std::int64_t, const ItemID&)>& use) const {
  Statement row = _database.query("SELECT id, uuid FROM items WHERE role = 0 AND changeTag <> ''");
  while (row.step()) use(row.int64(0), ItemID::fromBytes(row.blob(1)).value_or(ItemID()));
}

std::optional<StoredItem> ItemTable::itemOfFile(const FileStamp& stamp, bool isFolder) const {
  for (StoredItem& item : all(_database.query(kByInode, stamp.inode))) {
    if (item.isFolder() != isFolder || !item.stamp) continue;
    if (isFolder ? item.stamp->isSameFolder(stamp) : *item.stamp == stamp) return std::move(item);
  }
  return std::nullopt;
}

std::vector<std::int64_t> ItemTable::touched() const {
  Statement row = _database.query("SELECT folder FROM touched");
  std::vector<std::int64_t> folders;
  while (row.step()) folders.push_back(row.int64(0));
  return folders;
}

std::vector<StoredContainer> ItemTable::containers() const {
  Statement row = _database.query(
      "SELECT id, identifier, displayName, folder FROM containers ORDER BY identifier");
  std::vector<StoredContainer> containers;
  while (row.step()) containers.push_back(readContainer(row));
  return containers;
}

std::optional<StoredContainer> ItemTable::container(std::int64_t id) const {
  Statement row = _database.query(
      "SELECT id, identifier, displayName, folder FROM containers WHERE id = ?", id);
  if (!row.step()) return std::nullopt;
  return readContainer(row);
}

std::optional<StoredContainer> ItemTable::container(const std::string& identifier) const {
  Statement row = _database.query(
      "SELECT id, identifier, displayName, folder FROM containers WHERE identifier = ?",
      identifier);
  if (!row.step()) return std::nullopt;
  return readContainer(row);
}

std::vector<ParkedRecord> ItemTable::parkedBelow(std::int64_t container,
                                                 const std::string& parentName) const {
  Statement row =
      _database.query("SELECT recordName FROM parked WHERE container = ? AND parentName = ?",
                      container, parentName);
  std::vector<ParkedRecord> records;
  while (row.step()) records.push_back({container, row.string(0), parentName});
  return records;
}

std::int64_t ItemTable::parkedCount() const {
  Statement row = _database.query("SELECT count(*) FROM parked");
  return row.step() ? row.int64(0) : 0;
}

std::optional<std::string> ItemTable::text(std::string_view key) const {
  Statement row = _database.query("SELECT value FROM meta WHERE key = ?", key);
  if (!row.step()) return std::nullopt;
  return row.string(0);
}

std::int64_t ItemTable::number(std::string_view key) const {
  Statement row = _database.query("SELECT value FROM meta WHERE key = ?", key);
  return row.step() ? row.int64(0) : 0;
}

ItemTable::Totals ItemTable::totals() const {
  Totals totals;
  Statement folders = _database.query(
      "SELECT count(*) FROM items INDEXED BY folders_by_name WHERE kind = 0 AND role <> 2");
  if (folders.step()) totals.folders = static_cast<std::uint64_t>(folders.int64(0));
  Statement items = _database.query("SELECT count(*) FROM items WHERE id > 0 AND parent <> 0");
  if (items.step()) {
    totals.documents = static_cast<std::uint64_t>(items.int64(0)) - totals.folders;
  }
  Statement present = _database.query(
      "SELECT count(*), total(size) FROM items INDEXED BY documents_present "
      "WHERE kind = 1 AND state = 2");
  if (present.step()) {
    totals.present = static_cast<std::uint64_t>(present.int64(0));
    totals.presentBytes = static_cast<std::uint64_t>(present.real(1));
  }
  return totals;
}

}  // namespace tessera
