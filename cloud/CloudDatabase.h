#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "cloud/Record.h"

namespace tessera {

// A position in a database's change feed. Opaque; empty means the beginning.
using ChangeToken = std::string;

// What happens to a record whose change tag is no longer the one given.
enum class SavePolicy {
  IfUnchanged,  // refuse with RecordChanged (a record without a tag must not exist yet)
  Overwrite,    // save all the same
};

struct ChangePage {
  std::vector<Record> changed;  // each in its latest version, oldest change first
  std::vector<RecordID> deleted;
  ChangeToken token;  // ask from here next
  bool moreComing = false;
};

// One account's private records: zones of records, and the feed of their changes.
//
// Threads: any. Several processes may use one database at once.
class CloudDatabase {
 public:
  virtual ~CloudDatabase() = default;

  [[nodiscard]] virtual std::vector<ZoneID> zones() = 0;

  // Returns nullopt for a record that is not there (any more).
  [[nodiscard]] virtual std::optional<Record> record(const RecordID& id) = 0;
  // In the order of `ids`, without those that are not there.
  [[nodiscard]] virtual std::vector<Record> records(const std::vector<RecordID>& ids) = 0;

  // Saves and deletes in one step: all or, when one is refused, none. Returns the
  // saved records with their new tags, in the order given. The zones are made when
  // they are not there yet. Every asset named must have been uploaded and committed.
  // Deleting what is not there does nothing. Throws RecordChanged, NoSuchAsset,
  // NoSuchContainer, NoSpace, and InvalidArgument for a record of another account or
  // one that is named twice.
  virtual std::vector<Record> modify(const std::vector<Record>& saves,
                                     const std::vector<RecordID>& deletions, SavePolicy policy) = 0;

  // Changes after `since`, at most `limit` records and deletions, over all zones,
  // in the order they were made. A record changed twice comes once, in its latest
  // version. Throws TokenExpired for a token that cannot be continued from.
  [[nodiscard]] virtual ChangePage changes(const ChangeToken& since, std::size_t limit) = 0;

  // Returns once there may be changes after `since`, `timeout` has passed or `stop`
  // was requested. Wakes without polling, for a changed list of containers, too; may
  // wake for nothing.
  virtual void waitForChanges(const ChangeToken& since, std::chrono::milliseconds timeout,
                              std::stop_token stop) = 0;
};

}  // namespace tessera
