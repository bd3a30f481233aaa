#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cloud/CloudService.h"

namespace tessera {

class Database;

// An account as the other tables refer to it.
struct StoredAccount {
  std::int64_t row = 0;
  CloudAccount account;
};

// The accounts of a cloud, as SQL. Throws SqliteError.
// Threads and lifetime: as the Database it is given.
class AccountTable {
 public:
  explicit AccountTable(Database& database) : _database(database) {}

  [[nodiscard]] std::optional<StoredAccount> find(const std::string& name);
  // Needs a transaction of the caller's around it. Throws InvalidArgument for a name
  // that no account may have.
  CloudAccount findOrAdd(const std::string& name);

 private:
  Database& _database;
};

}  // namespace tessera
