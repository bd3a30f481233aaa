#include "skiff/store/ItemStore.h"

#include "skiff/store/StoreSchema.h"
#include "sqlite/SqliteError.h"
#include "sqlite/Transaction.h"

namespace tessera {

namespace {

constexpr std::size_t kIdleReaders = 8;
// Tombstones kept at least; a token that is older than the oldest kept has expired.
constexpr std::int64_t kTombstonesKept = 500'000;

std::unique_ptr<Database> openReader(const std::filesystem::path& file) {
  Database::Options options;
  options.mode = Database::Mode::ReadOnly;
  options.cacheKiB = 4 * 1024;
  options.mapBytes = 256 * 1024 * 1024;
  return std::make_unique<Database>(file, options);
}

std::unique_ptr<Database> openWriter(const std::filesystem::path& file) {
  // A store of a newer version must stay as it is, down to its journal, so it is looked at
  // before anything opens it for writing.
  if (std::filesystem::exists(file)) {
    Database::Options look;
    look.mode = Database::Mode::ReadOnly;
    Database probe(file, look);
    if (probe.userVersion() > kStoreFormat) throwStoreIsNewer();
  }
  auto database = std::make_unique<Database>(file);
  prepareStore(*database);
  return database;
}

}  // namespace

ItemStore::Reader::Reader(ItemStore& store, std::unique_ptr<Database> database)
    : _store(&store),
      _database(std::move(database)),
      _table(std::make_unique<ItemTable>(*_database)) {}

ItemStore::Reader::~Reader() {
  if (!_database) return;
  if (_inSnapshot) {
    try {
      _database->run("ROLLBACK");
    } catch (const SqliteError&) {
      return;  // a connection in an unknown state is closed instead of given back
    }
  }
  _store->giveBack(std::move(_database));
}

void ItemStore::Reader::beginSnapshot() {
  if (_inSnapshot) return;
  _database->run("BEGIN");
  _inSnapshot = true;
}

ItemStore::ItemStore(std::filesystem::path file)
    : _file(std::move(file)), _writer(openWriter(_file)) {
  ItemTable items(*_writer);
  _sequence = items.number("sequence");
  dropOldTombstones();
}

ItemStore::~ItemStore() = default;

ItemStore::Reader ItemStore::reader() {
  {
    std::lock_guard lock(_readersLock);
    if (!_readers.empty()) {
      std::unique_ptr<Database> database = std::move(_readers.back());
      _readers.pop_back();
      return Reader(*this, std::move(database));
    }
  }
  return Reader(*this, openReader(_file));
}

void ItemStore::giveBack(std::unique_ptr<Database> database) noexcept {
  std::lock_guard lock(_readersLock);
  if (_readers.size() < kIdleReaders) _readers.push_back(std::move(database));
}

void ItemStore::write(const Change& change) {
  std::lock_guard gate(_gate);
  StoreWriter writer(*_writer, _sequence.load());
  Transaction transaction(*_writer, Transaction::Kind::Write);
  change(writer);
  writer.settleCounts();
  writer.setNumber("sequence", writer._sequence);
  transaction.commit();
  commit(writer);
}

void ItemStore::writeTogether(const Change& change) {
  GroupEntry entry{&change, nullptr, false};
  std::unique_lock lock(_groupLock);
  _group.push_back(&entry);
  while (!entry.done) {
    if (_groupHasLeader) {
      _groupChanged.wait(lock);
      continue;
    }
    // This thread leads: what comes in while it waits for the gate goes with it.
    _groupHasLeader = true;
    lock.unlock();
    std::vector<GroupEntry*> group;
    {
      std::lock_guard gate(_gate);
      {
        std::lock_guard take(_groupLock);
        group.swap(_group);
      }
      runGroup(group);
    }
    lock.lock();
    for (GroupEntry* member : group) member->done = true;
    _groupHasLeader = false;
    _groupChanged.notify_all();
  }
  lock.unlock();
  if (entry.failure) std::rethrow_exception(entry.failure);
}

void ItemStore::runGroup(const std::vector<GroupEntry*>& group) {
  try {
    StoreWriter writer(*_writer, _sequence.load());
    Transaction transaction(*_writer, Transaction::Kind::Write);
    for (GroupEntry* entry : group) runInSavepoint(writer, *entry);
    writer.setNumber("sequence", writer._sequence);
    transaction.commit();
    commit(writer);
  } catch (...) {
    // Nothing of the group was committed.
    for (GroupEntry* entry : group) {
      if (!entry->failure) entry->failure = std::current_exception();
    }
  }
}

void ItemStore::runInSavepoint(StoreWriter& writer, GroupEntry& entry) {
  _writer->run("SAVEPOINT member");
  std::int64_t sequence = writer._sequence;
  std::size_t actions = writer._afterCommit.size();
  try {
    (*entry.change)(writer);
    writer.settleCounts();
    _writer->run("RELEASE member");
  } catch (...) {
    entry.failure = std::current_exception();
    writer._childrenChange.clear();
    writer._sequence = sequence;
    writer._afterCommit.resize(actions);
    // After a full disk SQLite itself may have ended the transaction: this throws then, and
    // the whole group fails.
    _writer->run("ROLLBACK TO member");
    _writer->run("RELEASE member");
  }
}

void ItemStore::commit(StoreWriter& writer) {
  _sequence = writer._sequence;
  for (const std::function<void()>& action : writer._afterCommit) action();
  if (_listener) _listener();
}

void ItemStore::dropOldTombstones() {
  ItemTable items(*_writer);
  std::int64_t last = 0;
  {
    Statement row = _writer->query("SELECT seq FROM departures ORDER BY seq DESC LIMIT 1 OFFSET ?",
                                   kTombstonesKept);
    if (!row.step()) return;
    last = row.int64(0);
  }
  write([last](StoreWriter& writer) {
    writer.items().database().run("DELETE FROM departures WHERE seq <= ?", last);
    writer.setNumber("expiredUpTo", last);
  });
}

}  // namespace tessera
