#include "cloud/embedded/EmbeddedDatabase.h"

#include <set>
#include <utility>

#include "cloud/CloudError.h"
#include "cloud/Utf8.h"
#include "cloud/embedded/ContainerTable.h"
#include "cloud/embedded/EmbeddedStore.h"
#include "cloud/embedded/RecordBatch.h"
#include "cloud/embedded/StorageError.h"
#include "sqlite/Transaction.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestName = 255;  // bytes

[[noreturn]] void refuse(const std::string& message) {
  throw CloudError(CloudError::Code::InvalidArgument, message);
}

bool isGoodName(const std::string& name) {
  return !name.empty() && name.size() <= kLongestName && isValidUtf8(name) &&
         name.find('\0') == std::string::npos;
}

}  // namespace

EmbeddedDatabase::EmbeddedDatabase(std::shared_ptr<EmbeddedStore> store, StoredAccount account)
    : _store(std::move(store)), _account(std::move(account)) {}

std::vector<ZoneID> EmbeddedDatabase::zones() {
  return withCloudErrors([this] {
    auto reader = _store->connections.reader();
    return RecordTable(*reader, _account).zones();
  });
}

std::optional<Record> EmbeddedDatabase::record(const RecordID& id) {
  return withCloudErrors([this, &id] {
    auto reader = _store->connections.reader();
    return RecordTable(*reader, _account).read(id);
  });
}

std::vector<Record> EmbeddedDatabase::records(const std::vector<RecordID>& ids) {
  return withCloudErrors([this, &ids] {
    auto reader = _store->connections.reader();
    Transaction transaction(*reader, Transaction::Kind::Read);
    RecordTable table(*reader, _account);
    std::vector<Record> found;
    found.reserve(ids.size());
    for (const RecordID& id : ids) {
      if (auto record = table.read(id)) found.push_back(std::move(*record));
    }
    return found;
  });
}

std::vector<Record> EmbeddedDatabase::modify(const std::vector<Record>& saves,
                                             const std::vector<RecordID>& deletions,
                                             SavePolicy policy) {
  if (saves.empty() && deletions.empty()) return {};
  checkArguments(saves, deletions);
  checkAssets(saves);
  RecordBatch batch(saves, deletions, policy);
  std::vector<Record> saved = withCloudErrors([this, &batch] {
    auto writer = _store->connections.writer();
    Transaction transaction(*writer, Transaction::Kind::Write);
    RecordTable table(*writer, _account);
    auto result = batch.apply(table);
    transaction.commit();
    return result;
  });
  _store->wake.touch();
  return saved;
}

ChangePage EmbeddedDatabase::changes(const ChangeToken& since, std::size_t limit) {
  if (limit == 0) refuse("A page of changes must have room for one.");
  return withCloudErrors([this, &since, limit] {
    auto reader = _store->connections.reader();
    Transaction transaction(*reader, Transaction::Kind::Read);
    RecordTable table(*reader, _account);
    auto reach = table.reach();
    FeedPosition position = begin(since, reach);
    ChangePage page;
    auto last = table.readChanges(position.sequence, limit, page);
    page.moreComing = last.has_value();
    position.sequence = last.value_or(reach.latest);
    page.token = position.toToken(_store->folder.identifier(), _account.account.identifier);
    return page;
  });
}

void EmbeddedDatabase::waitForChanges(const ChangeToken& since, std::chrono::milliseconds timeout,
                                      std::stop_token stop) {
  std::optional<std::int64_t> containers;
  auto changed = [this, &since, &containers] {
    return withCloudErrors([this, &since, &containers] {
      auto reader = _store->connections.reader();
      auto reach = RecordTable(*reader, _account).reach();
      std::int64_t version = ContainerTable(*reader).version();
      if (!containers) containers = version;
      try {
        return reach.latest > begin(since, reach).sequence || version != *containers;
      } catch (const CloudError&) {
        return true;  // an expired token: changes() says so
      }
    });
  };
  _store->wake.waitUntil(changed, timeout, stop);
}

void EmbeddedDatabase::dropTombstones(const ChangeToken& upTo) {
  FeedPosition position = positionOf(upTo);
  withCloudErrors([this, &position] {
    auto writer = _store->connections.writer();
    Transaction transaction(*writer, Transaction::Kind::Write);
    RecordTable table(*writer, _account);
    // A floor above the latest change would expire positions yet to come.
    if (position.sequence <= table.reach().latest) table.dropTombstones(position.sequence);
    transaction.commit();
  });
}

void EmbeddedDatabase::checkArguments(const std::vector<Record>& saves,
                                      const std::vector<RecordID>& deletions) const {
  std::set<RecordID> seen;
  auto check = [this, &seen](const RecordID& id) {
    if (id.zone.owner != _account.account.name) {
      refuse("The record " + id.name + " belongs to the account \"" + id.zone.owner +
             "\", not to \"" + _account.account.name + "\".");
    }
    if (!isGoodName(id.name)) refuse("A record's name has 1 to 255 bytes of UTF-8 text.");
    if (!seen.insert(id).second) refuse("The record " + id.name + " is named twice.");
  };
  for (const Record& record : saves) {
    check(record.id);
    if (!isGoodName(record.type)) refuse("A record's type has 1 to 255 bytes of UTF-8 text.");
  }
  for (const RecordID& id : deletions) check(id);
}

void EmbeddedDatabase::checkAssets(const std::vector<Record>& saves) const {
  for (const Record& record : saves) {
    for (const auto& [name, value] : record.fields) {
      const Asset* asset = std::get_if<Asset>(&value);
      if (asset == nullptr || _store->blobs->contains(*asset)) continue;
      throw CloudError(CloudError::Code::NoSuchAsset, "The asset in field " + name + " of record " +
                                                          record.id.name +
                                                          " has not been uploaded and committed.");
    }
  }
}

FeedPosition EmbeddedDatabase::positionOf(const ChangeToken& token) const {
  return FeedPosition::fromToken(token, _store->folder.identifier(), _account.account.identifier);
}

FeedPosition EmbeddedDatabase::begin(const ChangeToken& since,
                                     const RecordTable::Reach& reach) const {
  if (since.empty()) return {0, reach.floor};
  FeedPosition position = positionOf(since);
  if (!position.canContinue(reach.latest, reach.floor)) {
    throw CloudError(CloudError::Code::TokenExpired,
                     "The change token is too old: deletions after it have been forgotten.");
  }
  return position;
}

}  // namespace tessera
