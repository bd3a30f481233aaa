#pragma once

#include <stdexcept>
#include <string>

struct sqlite3;

namespace tessera {

// A call of SQLite that failed. `code()` is the primary result code, so that
// SQLITE_CONSTRAINT, for example, can be told without its many sub-codes.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int extendedCode, bool full, const std::string& message)
      : std::runtime_error(message), _extendedCode(extendedCode), _full(full) {}

  // Describes what just went wrong on `connection`, which may be null; `doing`
  // begins the message.
  [[nodiscard]] static SqliteError last(sqlite3* connection, int code, const std::string& doing);

  [[nodiscard]] int code() const noexcept { return _extendedCode & 0xff; }
  [[nodiscard]] int extendedCode() const noexcept { return _extendedCode; }
  // The disk or the quota is used up, in whichever of its files SQLite noticed it.
  [[nodiscard]] bool isFull() const noexcept { return _full; }
  // Another connection held the lock for longer than the busy timeout.
  [[nodiscard]] bool isBusy() const noexcept;

 private:
  int _extendedCode;
  bool _full;
};

}  // namespace tessera
