#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "cloud/CloudDatabase.h"
#include "cloud/embedded/RecordTable.h"

namespace tessera {

// The saves and deletions of one modify(), prepared before the lock is taken and
// applied under it.
// Threads: one at a time. Lifetime: must not outlive the vectors it is given.
class RecordBatch {
 public:
  // Encodes the records, so that this is not done while others wait.
  RecordBatch(const std::vector<Record>& saves, const std::vector<RecordID>& deletions,
              SavePolicy policy);

  // Writes everything, inside a transaction of the caller's that is to be rolled back
  // when this throws. Returns the saved records as they are stored now. Throws
  // RecordChanged, NoSuchContainer and SqliteError.
  [[nodiscard]] std::vector<Record> apply(RecordTable& table);

 private:
  std::int64_t zoneOf(RecordTable& table, const std::string& container);
  void checkUnchanged(const Record& record, const std::optional<RecordTable::Stored>& stored) const;

  const std::vector<Record>& _saves;
  const std::vector<RecordID>& _deletions;
  const SavePolicy _policy;
  std::vector<std::vector<std::uint8_t>> _fields;        // of each save, encoded
  std::unordered_map<std::string, std::int64_t> _zones;  // rows by container
};

}  // namespace tessera
