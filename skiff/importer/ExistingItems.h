#pragma once

#include <cstdint>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "cloud/CloudDatabase.h"
#include "cloud/DocumentRecord.h"

namespace tessera {

// Which items a zone had when this was made, to be found by folder and name.
//
// The cloud offers no such question, so the change feed is read through once. Kept of each
// record are its name and a hash of its place, about 60 bytes, whatever it holds; find()
// reads the record again and compares. A hash that two places share costs one more read.
// Threads: any after construction. Lifetime: must not outlive the database.
class ExistingItems {
 public:
  // Reads the zone. When `stop` is requested it ends early, and the object must not be used.
  ExistingItems(CloudDatabase& database, ZoneID zone, const std::stop_token& stop);

  // The item as it is now; nullopt when there is none (any more). Where the cloud has
  // several of one name, the one whose record name comes first.
  [[nodiscard]] std::optional<DocumentRecord> find(const std::string& parent,
                                                   const std::string& name) const;

 private:
  struct Entry {
    std::uint64_t place = 0;  // hash of parent and name
    std::uint64_t offset = 0;
    std::uint32_t length = 0;
  };

  void readZone(const std::stop_token& stop);
  void add(const Record& record);
  [[nodiscard]] std::string recordName(const Entry& entry) const;

  CloudDatabase& _database;
  const ZoneID _zone;
  std::vector<Entry> _entries;  // sorted by place
  std::string _recordNames;     // one after the other
};

}  // namespace tessera
