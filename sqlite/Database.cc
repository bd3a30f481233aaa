#include "sqlite/Database.h"

#include <sqlite3.h>

#include "sqlite/SqliteError.h"

namespace tessera {

namespace {

int openFlags(Database::Mode mode) {
  // No mutex inside SQLite: a connection is used by one thread at a time.
  constexpr int kAlways = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  switch (mode) {
    case Database::Mode::ReadOnly:
      return kAlways | SQLITE_OPEN_READONLY;
    case Database::Mode::ReadWrite:
      return kAlways | SQLITE_OPEN_READWRITE;
    case Database::Mode::CreateIfMissing:
      break;
  }
  return kAlways | SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
}

}  // namespace

Database::Database(const std::filesystem::path& file, const Options& options) {
  int code = sqlite3_open_v2(file.c_str(), &_connection, openFlags(options.mode), nullptr);
  if (code != SQLITE_OK) {
    SqliteError error = SqliteError::last(_connection, code, "open " + file.string());
    sqlite3_close_v2(_connection);
    throw error;
  }
  try {
    configure(options);
  } catch (...) {
    for (auto& [sql, handles] : _idle) {
      for (sqlite3_stmt* handle : handles) sqlite3_finalize(handle);
    }
    sqlite3_close_v2(_connection);
    throw;
  }
}

void Database::configure(const Options& options) {
  sqlite3_busy_timeout(_connection, static_cast<int>(options.busyTimeout.count()));
  if (options.mode != Mode::ReadOnly) {
    // Asked first: setting it needs a lock, reading it does not.
    bool wal = false;
    {
      Statement mode = statement("PRAGMA journal_mode");
      wal = mode.step() && mode.text(0) == "wal";
    }
    if (!wal) execute("PRAGMA journal_mode = WAL");
  }
  execute(options.durability == Durability::Full ? "PRAGMA synchronous = FULL"
                                                 : "PRAGMA synchronous = NORMAL");
  execute("PRAGMA foreign_keys = ON; PRAGMA temp_store = MEMORY");
  execute("PRAGMA cache_size = -" + std::to_string(options.cacheKiB));
  if (options.mapBytes > 0) execute("PRAGMA mmap_size = " + std::to_string(options.mapBytes));
}

Database::~Database() {
  for (auto& [sql, handles] : _idle) {
    for (sqlite3_stmt* handle : handles) sqlite3_finalize(handle);
  }
  sqlite3_close_v2(_connection);
}

Statement Database::statement(std::string_view sql) {
  if (auto found = _idle.find(sql); found != _idle.end() && !found->second.empty()) {
    sqlite3_stmt* handle = found->second.back();
    found->second.pop_back();
    return Statement(*this, handle);
  }
  return Statement(*this, prepare(sql));
}

sqlite3_stmt* Database::prepare(std::string_view sql) {
  sqlite3_stmt* handle = nullptr;
  int code = sqlite3_prepare_v3(_connection, sql.data(), static_cast<int>(sql.size()),
                                SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
  if (code != SQLITE_OK) {
    throw SqliteError::last(_connection, code, "prepare " + std::string(sql));
  }
  if (handle == nullptr) throw SqliteError(SQLITE_MISUSE, false, "no statement in the text");
  return handle;
}

void Database::giveBack(sqlite3_stmt* handle) noexcept {
  try {
    std::string_view sql = sqlite3_sql(handle);
    auto found = _idle.find(sql);
    if (found == _idle.end()) found = _idle.try_emplace(std::string(sql)).first;
    found->second.push_back(handle);
  } catch (...) {  // no memory to keep it: prepared again next time
    sqlite3_finalize(handle);
  }
}

void Database::execute(const std::string& script) {
  int code = sqlite3_exec(_connection, script.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) throw SqliteError::last(_connection, code, script);
}

std::int64_t Database::changes() const {
  return sqlite3_changes64(_connection);
}

std::int64_t Database::lastInsertRowid() const {
  return sqlite3_last_insert_rowid(_connection);
}

bool Database::inTransaction() const {
  return sqlite3_get_autocommit(_connection) == 0;
}

std::int64_t Database::userVersion() {
  Statement version = statement("PRAGMA user_version");
  version.step();
  return version.int64(0);
}

void Database::setUserVersion(std::int64_t version) {
  execute("PRAGMA user_version = " + std::to_string(version));
}

std::int64_t Database::dataVersion() {
  Statement version = statement("PRAGMA data_version");
  version.step();
  return version.int64(0);
}

}  // namespace tessera
