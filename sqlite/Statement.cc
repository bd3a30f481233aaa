#include "sqlite/Statement.h"

#include <sqlite3.h>

#include <utility>

#include "sqlite/Database.h"
#include "sqlite/SqliteError.h"

namespace tessera {

Statement::Statement(Statement&& other) noexcept
    : _database(other._database), _handle(std::exchange(other._handle, nullptr)) {}

Statement::~Statement() {
  if (_handle == nullptr) return;
  sqlite3_reset(_handle);  // repeats the error of the last step, which was reported then
  sqlite3_clear_bindings(_handle);
  _database->giveBack(_handle);
}

Statement& Statement::bind(int index, std::int64_t value) {
  check(sqlite3_bind_int64(_handle, index, value), "bind");
  return *this;
}

Statement& Statement::bind(int index, double value) {
  check(sqlite3_bind_double(_handle, index, value), "bind");
  return *this;
}

Statement& Statement::bind(int index, std::string_view value) {
  // A null pointer would bind NULL; an empty text is not NULL.
  const char* data = value.data() != nullptr ? value.data() : "";
  check(sqlite3_bind_text64(_handle, index, data, value.size(),
                            _borrow ? SQLITE_STATIC : SQLITE_TRANSIENT, SQLITE_UTF8),
        "bind");
  return *this;
}

Statement& Statement::bind(int index, BlobView value) {
  const void* data = value.data() != nullptr ? static_cast<const void*>(value.data()) : "";
  check(sqlite3_bind_blob64(_handle, index, data, value.size(),
                            _borrow ? SQLITE_STATIC : SQLITE_TRANSIENT),
        "bind");
  return *this;
}

Statement& Statement::bind(int index, std::nullopt_t) {
  check(sqlite3_bind_null(_handle, index), "bind");
  return *this;
}

bool Statement::step() {
  int code = sqlite3_step(_handle);
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  // The error's text is gone after a reset, so it is taken first.
  SqliteError error = SqliteError::last(sqlite3_db_handle(_handle), code, sqlite3_sql(_handle));
  sqlite3_reset(_handle);
  throw error;
}

void Statement::runBound() {
  while (step()) {
  }
}

void Statement::endBorrowing() noexcept {
  _borrow = false;
  sqlite3_reset(_handle);
  sqlite3_clear_bindings(_handle);
}

void Statement::reset() {
  sqlite3_reset(_handle);
}

bool Statement::isNull(int column) const {
  return sqlite3_column_type(_handle, column) == SQLITE_NULL;
}

std::int64_t Statement::int64(int column) const {
  return sqlite3_column_int64(_handle, column);
}

double Statement::real(int column) const {
  return sqlite3_column_double(_handle, column);
}

std::string_view Statement::text(int column) const {
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(_handle, column));
  if (data == nullptr) return {};
  return {data, static_cast<std::size_t>(sqlite3_column_bytes(_handle, column))};
}

BlobView Statement::blob(int column) const {
  const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(_handle, column));
  if (data == nullptr) return {};
  return {data, static_cast<std::size_t>(sqlite3_column_bytes(_handle, column))};
}

std::optional<std::int64_t> Statement::optionalInt64(int column) const {
  if (isNull(column)) return std::nullopt;
  return int64(column);
}

std::optional<std::string> Statement::optionalString(int column) const {
  if (isNull(column)) return std::nullopt;
  return string(column);
}

void Statement::check(int code, const char* doing) const {
  if (code == SQLITE_OK) return;
  throw SqliteError::last(sqlite3_db_handle(_handle), code,
                          std::string(doing) + " in " + sqlite3_sql(_handle));
}

}  // namespace tessera
