#pragma once

#include <cstdint>
#include <vector>

#include "cloud/CloudService.h"

namespace tessera {

class Database;

// The containers of a cloud, as SQL. Throws SqliteError.
// Threads and lifetime: as the Database it is given.
class ContainerTable {
 public:
  explicit ContainerTable(Database& database) : _database(database) {}

  // Throws InvalidArgument, saying what is wrong with the container's own values.
  static void check(const CloudContainer& container);

  // In the order of their identifiers.
  [[nodiscard]] std::vector<CloudContainer> all();
  // Adds or replaces and moves the version on. Needs a transaction of the caller's
  // around it. Throws InvalidArgument when the display name is another container's.
  void put(const CloudContainer& container);
  [[nodiscard]] std::int64_t version();

 private:
  Database& _database;
};

}  // namespace tessera
