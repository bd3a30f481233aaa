#pragma once

#include <memory>

#include "cloud/CloudDatabase.h"
#include "cloud/embedded/AccountTable.h"
#include "cloud/embedded/FeedPosition.h"
#include "cloud/embedded/RecordTable.h"

namespace tessera {

struct EmbeddedStore;

// One account's records in an embedded cloud.
//
// Every change of a record takes the account's next number inside the writing
// transaction, and writers take turns, over all processes. Numbers therefore become
// visible in their order, and a reader that has seen one has seen all before it.
// Threads: any. Lifetime: may outlive the service it came from.
class EmbeddedDatabase final : public CloudDatabase {
 public:
  EmbeddedDatabase(std::shared_ptr<EmbeddedStore> store, StoredAccount account);

  [[nodiscard]] std::vector<ZoneID> zones() override;
  [[nodiscard]] std::optional<Record> record(const RecordID& id) override;
  [[nodiscard]] std::vector<Record> records(const std::vector<RecordID>& ids) override;
  std::vector<Record> modify(const std::vector<Record>& saves,
                             const std::vector<RecordID>& deletions, SavePolicy policy) override;
  [[nodiscard]] ChangePage changes(const ChangeToken& since, std::size_t limit) override;
  void waitForChanges(const ChangeToken& since, std::chrono::milliseconds timeout,
                      std::stop_token stop) override;

  // Forgets the deletions up to the position `upTo`, to keep the database small.
  // Readers that have not come that far get TokenExpired. Throws TokenExpired itself
  // for a token that is none of this account's.
  void dropTombstones(const ChangeToken& upTo);

 private:
  void checkArguments(const std::vector<Record>& saves,
                      const std::vector<RecordID>& deletions) const;
  void checkAssets(const std::vector<Record>& saves) const;
  [[nodiscard]] FeedPosition positionOf(const ChangeToken& token) const;
  // The position to read from. Throws TokenExpired.
  [[nodiscard]] FeedPosition begin(const ChangeToken& since, const RecordTable::Reach& reach) const;

  const std::shared_ptr<EmbeddedStore> _store;
  const StoredAccount _account;
};

}  // namespace tessera
