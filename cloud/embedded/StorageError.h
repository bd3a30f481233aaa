#pragma once

#include <exception>
#include <string>
#include <utility>

#include "cloud/CloudError.h"
#include "sqlite/SqliteError.h"

namespace tessera {

// The one table that turns what the storage says into what the cloud says.
[[nodiscard]] CloudError cloudErrorFromErrno(int errnum, const std::string& doing);
[[nodiscard]] CloudError cloudErrorFromSqlite(const SqliteError& error);

// Runs `body`, a unit of database work; SqliteError leaves it as CloudError.
template <typename Body>
decltype(auto) withCloudErrors(Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const SqliteError& error) {
    throw cloudErrorFromSqlite(error);
  }
}

}  // namespace tessera
