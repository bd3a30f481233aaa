#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cloud/CloudDatabase.h"
#include "cloud/embedded/AccountTable.h"

namespace tessera {

class Database;
class Statement;

// One account's zones and records, as SQL. It keeps no state: what belongs together
// is put into one transaction by the caller. Throws SqliteError.
//
// A record's change tag is the number of its latest change, which no other change of
// the account ever had.
// Threads and lifetime: as the Database it is given.
class RecordTable {
 public:
  RecordTable(Database& database, const StoredAccount& account)
      : _database(database), _account(account) {}

  // What is stored under a name, a tombstone included.
  struct Stored {
    std::int64_t row = 0;
    std::int64_t sequence = 0;
    std::int64_t version = 0;
    bool deleted = false;
  };

  [[nodiscard]] std::vector<ZoneID> zones();
  [[nodiscard]] std::optional<std::int64_t> zone(const std::string& container);
  // The zone's row, made now if it is not there. Throws NoSuchContainer.
  std::int64_t makeZone(const std::string& container);

  [[nodiscard]] std::optional<Stored> stored(std::int64_t zone, const std::string& name);
  // Returns nullopt for a tombstone, too.
  [[nodiscard]] std::optional<Record> read(const RecordID& id);

  // Writes `record` with the change number, version and date it carries; `replaced`
  // is what is stored under its name.
  void write(std::int64_t zone, const Record& record, std::int64_t sequence,
             const std::vector<std::uint8_t>& fields, const std::optional<Stored>& replaced);
  // Leaves a tombstone.
  void bury(const Stored& stored, std::int64_t sequence, std::int64_t deletedAt);
  void dropTombstones(std::int64_t upTo);

  // The number of the latest change, and the one up to which tombstones were dropped.
  struct Reach {
    std::int64_t latest = 0;
    std::int64_t floor = 0;
  };
  [[nodiscard]] Reach reach();
  void setLatest(std::int64_t sequence);

  // Appends the changes after `since`, at most `limit`, to `page`. Returns the number
  // of the last one, or nullopt when these were all.
  std::optional<std::int64_t> readChanges(std::int64_t since, std::size_t limit, ChangePage& page);

 private:
  Record recordOf(const Statement& row, std::string container) const;

  Database& _database;
  const StoredAccount& _account;
};

}  // namespace tessera
