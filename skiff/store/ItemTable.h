#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "skiff/store/StoredItem.h"
#include "sqlite/Database.h"

namespace tessera {

struct StoredContainer {
  std::int64_t id = 0;
  std::string identifier;
  std::string displayName;
  std::int64_t folder = 0;  // row of its documents folder
};

// A cloud record that cannot be placed yet: its folder is not known.
struct ParkedRecord {
  std::int64_t container = 0;
  std::string recordName;
  std::string parentName;
};

// The questions that can be asked of the store, on one connection.
//
// Threads: as its Database, one at a time.
class ItemTable {
 public:
  explicit ItemTable(Database& database) : _database(database) {}

  [[nodiscard]] Database& database() const { return _database; }

  [[nodiscard]] std::optional<StoredItem> find(std::int64_t id) const;
  [[nodiscard]] std::optional<StoredItem> find(const ItemID& uuid) const;
  [[nodiscard]] std::optional<StoredItem> child(std::int64_t folder, std::string_view name) const;
  [[nodiscard]] std::optional<StoredItem> root() const;
  // The item of a cloud record.
  [[nodiscard]] std::optional<StoredItem> itemOfRecord(std::int64_t container,
                                                       const std::string& recordName) const;
  // The identifier that a record's item has or would get.
  [[nodiscard]] ItemID identifierOfRecord(std::int64_t container,
                                          const std::string& recordName) const;

  // Path below the root, without a leading '/'; empty for the root. nullopt when the item is
  // not connected to the root.
  [[nodiscard]] std::optional<std::string> path(std::int64_t id) const;
  // The item at such a path. The last component may be a promise's name.
  [[nodiscard]] std::optional<StoredItem> itemAt(std::string_view relativePath) const;
  // True when `id` is `ancestor` or below it.
  [[nodiscard]] bool isWithin(std::int64_t id, std::int64_t ancestor) const;

  // Items of `folder` that would like to be called `name` but are called otherwise.
  [[nodiscard]] std::vector<StoredItem> waitingForName(std::int64_t folder,
                                                       std::string_view name) const;
  void forEachChild(std::int64_t folder, const std::function<void(const StoredItem&)>& use) const;
  // Documents that a crash may have left half done: see StoredItem::stamp.
  [[nodiscard]] std::vector<std::int64_t> unsettled() const;
  [[nodiscard]] std::vector<StoredItem> references() const;
  // Records of the cloud that have an item, as rows and identifiers.
  void forEachRecord(const std::function<void(std::int64_t, const ItemID&)>& use) const;

  // The item whose folder or file this is, as it was noted.
  [[nodiscard]] std::optional<StoredItem> itemOfFile(const FileStamp& stamp, bool isFolder) const;
  // Folders in which a change of the tree was begun and not ended.
  [[nodiscard]] std::vector<std::int64_t> touched() const;

  [[nodiscard]] std::vector<StoredContainer> containers() const;
  [[nodiscard]] std::optional<StoredContainer> container(std::int64_t id) const;
  [[nodiscard]] std::optional<StoredContainer> container(const std::string& identifier) const;

  [[nodiscard]] std::vector<ParkedRecord> parkedBelow(std::int64_t container,
                                                      const std::string& parentName) const;
  [[nodiscard]] std::int64_t parkedCount() const;

  [[nodiscard]] std::optional<std::string> text(std::string_view key) const;
  [[nodiscard]] std::int64_t number(std::string_view key) const;

  struct Totals {
    std::uint64_t folders = 0;  // without the root
    std::uint64_t documents = 0;
    std::uint64_t present = 0;
    std::uint64_t presentBytes = 0;
  };
  [[nodiscard]] Totals totals() const;

 private:
  Database& _database;
};

}  // namespace tessera
