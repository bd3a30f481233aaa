#pragma once

namespace tessera {

class Database;

inline constexpr int kStoreFormat = 1;

// Makes the tables in an empty database. Throws SkiffError (NewerVersion), with the database
// untouched, when a newer version of this program made it.
void prepareStore(Database& database);

[[noreturn]] void throwStoreIsNewer();

}  // namespace tessera
