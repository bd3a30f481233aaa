#include "sqlite/SqliteError.h"

#include <sqlite3.h>

#include <cerrno>

namespace tessera {

SqliteError SqliteError::last(sqlite3* connection, int code, const std::string& doing) {
  bool full = (code & 0xff) == SQLITE_FULL;
  std::string message = doing + ": " + sqlite3_errstr(code);
  if (connection != nullptr) {
    code = sqlite3_extended_errcode(connection) != SQLITE_OK ? sqlite3_extended_errcode(connection)
                                                             : code;
    message = doing + ": " + sqlite3_errmsg(connection);
    // The shared-memory and temporary files report a full disk as a plain I/O error.
    int errnum = sqlite3_system_errno(connection);
    full = full || ((code & 0xff) == SQLITE_IOERR && (errnum == ENOSPC || errnum == EDQUOT));
  }
  return SqliteError(code, full, message);
}

bool SqliteError::isBusy() const noexcept {
  return code() == SQLITE_BUSY || code() == SQLITE_LOCKED;
}

}  // namespace tessera
