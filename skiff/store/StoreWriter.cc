#include "skiff/store/StoreWriter.h"

#include <stdexcept>

#include "skiff/store/ItemRow.h"

namespace tessera {

namespace {

constexpr const char* kInsert =
    "INSERT INTO items(seq, uuid, parent, role, kind, name, fold, cloudName, container, "
    "recordName, changeTag, contentHash, contentSize, targetContainer, targetRecord, size, "
    "created, recency, lastUsed, favoriteRank, contentType, tags, executable, state, device, "
    "inode, fileSize, fileModified, localHash, uploaded, id, children) "
    "VALUES(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,?17,?18,?19,?20,?21,?22,?23,"
    "?24,?25,?26,?27,?28,?29,?30,?31,0)";
constexpr const char* kUpdate =
    "UPDATE items SET seq=?1, uuid=?2, parent=?3, role=?4, kind=?5, name=?6, fold=?7, "
    "cloudName=?8, container=?9, recordName=?10, changeTag=?11, contentHash=?12, "
    "contentSize=?13, targetContainer=?14, targetRecord=?15, size=?16, created=?17, "
    "recency=?18, lastUsed=?19, favoriteRank=?20, contentType=?21, tags=?22, executable=?23, "
    "state=?24, device=?25, inode=?26, fileSize=?27, fileModified=?28, localHash=?29, "
    "uploaded=?30 WHERE id=?31";

std::optional<std::string_view> unlessEmpty(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return text;
}

void runWithItem(Database& database, const char* sql, const StoredItem& item) {
  // The usual record name is the identifier's text and is not kept twice.
  std::optional<std::string_view> recordName = unlessEmpty(item.recordName);
  std::string uuidText = item.uuid.toString();
  if (recordName == std::optional<std::string_view>(uuidText)) recordName.reset();
  std::optional<std::string_view> cloudName = unlessEmpty(item.cloudName);
  if (item.cloudName == item.name) cloudName.reset();
  const std::optional<FileStamp>& stamp = item.stamp;
  auto ofStamp = [&stamp](auto FileStamp::*field) -> std::optional<std::int64_t> {
    if (!stamp) return std::nullopt;
    return static_cast<std::int64_t>((*stamp).*field);
  };
  std::string tags = encodeTags(item.tags);
  std::string fold = foldedName(item.name);
  database.run(sql, item.seq, BlobView(item.uuid.bytes()), item.parent, item.role, item.kind,
               item.name, fold, cloudName, item.container, recordName, item.changeTag,
               item.contentHash, item.contentSize, unlessEmpty(item.targetContainer),
               unlessEmpty(item.targetRecord), item.size, item.createdAt, -item.modifiedAt,
               item.lastUsedAt, item.favoriteRank, item.contentType, unlessEmpty(tags),
               item.executable, item.state, ofStamp(&FileStamp::device), ofStamp(&FileStamp::inode),
               ofStamp(&FileStamp::size), ofStamp(&FileStamp::modifiedAt),
               unlessEmpty(item.localHash), item.uploaded, item.id);
}

}  // namespace

void StoreWriter::insert(StoredItem& item) {
  item.seq = nextSequence();
  item.id = item.seq;  // unique for good, as sequence numbers are
  runWithItem(_items.database(), kInsert, item);
  if (item.parent != 0) ++_childrenChange[item.parent];
}

void StoreWriter::update(StoredItem& item) {
  Database& database = _items.database();
  std::int64_t oldParent = 0;
  {
    Statement row = database.query("SELECT parent FROM items WHERE id = ?", item.id);
    if (!row.step()) throw std::logic_error("update of an item that is not in the store");
    oldParent = row.int64(0);
  }
  if (oldParent != item.parent) {
    --_childrenChange[oldParent];
    ++_childrenChange[item.parent];
    depart(item, oldParent, false);
  }
  item.seq = nextSequence();
  runWithItem(database, kUpdate, item);
}

void StoreWriter::remove(const StoredItem& item) {
  Database& database = _items.database();
  Statement child = database.query("SELECT 1 FROM items WHERE parent = ? LIMIT 1", item.id);
  if (child.step()) throw std::logic_error("removal of a folder that has items");
  depart(item, item.parent, true);
  database.run("DELETE FROM items WHERE id = ?", item.id);
  --_childrenChange[item.parent];
}

void StoreWriter::depart(const StoredItem& item, std::int64_t parent, bool dead) {
  _items.database().run("INSERT INTO departures(seq, id, uuid, parent, dead) VALUES(?, ?, ?, ?, ?)",
                        nextSequence(), item.id, BlobView(item.uuid.bytes()), parent, dead);
}

void StoreWriter::insertContainer(StoredContainer& container) {
  Database& database = _items.database();
  database.run("INSERT INTO containers(identifier, displayName, folder) VALUES(?, ?, ?)",
               container.identifier, container.displayName, container.folder);
  container.id = database.lastInsertRowid();
}

void StoreWriter::updateContainer(const StoredContainer& container) {
  _items.database().run("UPDATE containers SET displayName = ?, folder = ? WHERE id = ?",
                        container.displayName, container.folder, container.id);
}

void StoreWriter::park(const ParkedRecord& record) {
  _items.database().run(
      "INSERT OR REPLACE INTO parked(container, recordName, parentName) VALUES(?, ?, ?)",
      record.container, record.recordName, record.parentName);
}

void StoreWriter::unpark(std::int64_t container, const std::string& recordName) {
  _items.database().run("DELETE FROM parked WHERE container = ? AND recordName = ?", container,
                        recordName);
}

void StoreWriter::touch(std::int64_t folder) {
  _items.database().run("INSERT OR IGNORE INTO touched(folder) VALUES(?)", folder);
}

void StoreWriter::clearTouched() {
  _items.database().run("DELETE FROM touched");
}

void StoreWriter::setText(std::string_view key, std::string_view value) {
  _items.database().run("INSERT OR REPLACE INTO meta(key, value) VALUES(?, ?)", key, value);
}

void StoreWriter::setNumber(std::string_view key, std::int64_t value) {
  _items.database().run("INSERT OR REPLACE INTO meta(key, value) VALUES(?, ?)", key, value);
}

void StoreWriter::clear(std::string_view key) {
  _items.database().run("DELETE FROM meta WHERE key = ?", key);
}

void StoreWriter::settleCounts() {
  for (auto [folder, change] : _childrenChange) {
    if (change == 0 || folder == 0) continue;
    _items.database().run("UPDATE items SET children = children + ?, seq = ? WHERE id = ?", change,
                          nextSequence(), folder);
  }
  _childrenChange.clear();
}

}  // namespace tessera
