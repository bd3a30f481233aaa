#include "cloud/embedded/StorageError.h"

#include <sqlite3.h>

#include <cerrno>
#include <system_error>

namespace tessera {

CloudError cloudErrorFromErrno(int errnum, const std::string& doing) {
  std::string message = doing + ": " + std::generic_category().message(errnum);
  switch (errnum) {
    case ENOSPC:
    case EDQUOT:
      return {CloudError::Code::NoSpace, message};
    default:
      return {CloudError::Code::Unreachable, message};
  }
}

CloudError cloudErrorFromSqlite(const SqliteError& error) {
  if (error.isFull()) return {CloudError::Code::NoSpace, error.what()};
  switch (error.code()) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return {CloudError::Code::Corrupt, error.what()};
    case SQLITE_TOOBIG:
      return {CloudError::Code::InvalidArgument, error.what()};
    default:
      return {CloudError::Code::Unreachable, error.what()};
  }
}

}  // namespace tessera
