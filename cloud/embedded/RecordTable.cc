#include "cloud/embedded/RecordTable.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "cloud/CloudError.h"
#include "cloud/embedded/RecordFields.h"
#include "sqlite/Database.h"

namespace tessera {

std::vector<ZoneID> RecordTable::zones() {
  std::vector<ZoneID> zones;
  auto row = _database.query("SELECT container FROM zone WHERE account = ? ORDER BY container",
                             _account.row);
  while (row.step()) zones.push_back({_account.account.name, row.string(0)});
  return zones;
}

std::optional<std::int64_t> RecordTable::zone(const std::string& container) {
  auto row = _database.query("SELECT id FROM zone WHERE account = ? AND container = ?",
                             _account.row, container);
  if (!row.step()) return std::nullopt;
  return row.int64(0);
}

std::int64_t RecordTable::makeZone(const std::string& container) {
  if (auto found = zone(container)) return *found;
  if (!_database.query("SELECT 1 FROM container WHERE identifier = ?", container).step()) {
    throw CloudError(CloudError::Code::NoSuchContainer,
                     "The cloud has no container \"" + container + "\". Add it first.");
  }
  _database.run("INSERT INTO zone (account, container) VALUES (?, ?)", _account.row, container);
  return _database.lastInsertRowid();
}

std::optional<RecordTable::Stored> RecordTable::stored(std::int64_t zone, const std::string& name) {
  auto row = _database.query(
      "SELECT id, sequence, version, fields IS NULL FROM record WHERE zone = ? AND name = ?", zone,
      name);
  if (!row.step()) return std::nullopt;
  return Stored{row.int64(0), row.int64(1), row.int64(2), row.int64(3) != 0};
}

// The queries that end here begin with the columns name, type, sequence, version,
// modified_at and fields.
Record RecordTable::recordOf(const Statement& row, std::string container) const {
  Record record;
  record.id = {ZoneID{_account.account.name, std::move(container)}, row.string(0)};
  record.type = row.string(1);
  record.changeTag = std::to_string(row.int64(2));
  record.version = static_cast<std::uint64_t>(row.int64(3));
  record.modifiedAt = row.int64(4);
  record.fields = decodeFields(row.blob(5));
  return record;
}

std::optional<Record> RecordTable::read(const RecordID& id) {
  if (id.zone.owner != _account.account.name) return std::nullopt;
  auto row = _database.query(
      "SELECT r.name, r.type, r.sequence, r.version, r.modified_at, r.fields "
      "FROM record r JOIN zone z ON z.id = r.zone "
      "WHERE z.account = ? AND z.container = ? AND r.name = ? AND r.fields IS NOT NULL",
      _account.row, id.zone.container, id.name);
  if (!row.step()) return std::nullopt;
  return recordOf(row, id.zone.container);
}

void RecordTable::write(std::int64_t zone, const Record& record, std::int64_t sequence,
                        const std::vector<std::uint8_t>& fields,
                        const std::optional<Stored>& replaced) {
  if (replaced) {
    _database.run(
        "UPDATE record SET type = ?, sequence = ?, version = ?, modified_at = ?, fields = ? "
        "WHERE id = ?",
        record.type, sequence, record.version, record.modifiedAt, fields, replaced->row);
  } else {
    _database.run(
        "INSERT INTO record (account, zone, name, type, sequence, version, modified_at, fields) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
        _account.row, zone, record.id.name, record.type, sequence, record.version,
        record.modifiedAt, fields);
  }
}

void RecordTable::bury(const Stored& stored, std::int64_t sequence, std::int64_t deletedAt) {
  _database.run(
      "UPDATE record SET type = '', sequence = ?, modified_at = ?, fields = NULL WHERE id = ?",
      sequence, deletedAt, stored.row);
}

void RecordTable::dropTombstones(std::int64_t upTo) {
  _database.run("DELETE FROM record WHERE account = ? AND sequence <= ? AND fields IS NULL",
                _account.row, upTo);
  _database.run("UPDATE account SET floor = max(floor, ?) WHERE id = ?", upTo, _account.row);
}

RecordTable::Reach RecordTable::reach() {
  auto row = _database.query("SELECT sequence, floor FROM account WHERE id = ?", _account.row);
  row.step();
  return {row.int64(0), row.int64(1)};
}

void RecordTable::setLatest(std::int64_t sequence) {
  _database.run("UPDATE account SET sequence = ? WHERE id = ?", sequence, _account.row);
}

std::optional<std::int64_t> RecordTable::readChanges(std::int64_t since, std::size_t limit,
                                                     ChangePage& page) {
  constexpr std::size_t kMost = std::numeric_limits<std::int64_t>::max() - 1;
  limit = std::min(limit, kMost);
  auto row = _database.query(
      "SELECT r.name, r.type, r.sequence, r.version, r.modified_at, r.fields, z.container "
      "FROM record r JOIN zone z ON z.id = r.zone "
      "WHERE r.account = ? AND r.sequence > ? ORDER BY r.sequence LIMIT ?",
      _account.row, since, limit + 1);  // one more than wanted tells whether there is more
  std::int64_t last = since;
  for (std::size_t count = 0; row.step(); ++count) {
    if (count == limit) return last;
    last = row.int64(2);
    if (row.isNull(5)) {
      page.deleted.push_back({ZoneID{_account.account.name, row.string(6)}, row.string(0)});
    } else {
      page.changed.push_back(recordOf(row, row.string(6)));
    }
  }
  return std::nullopt;
}

}  // namespace tessera
