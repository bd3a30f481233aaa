#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tessera {

class Database;

// The version of the tables; it moves together with the marker's format number.
inline constexpr std::int64_t kCloudSchemaVersion = 1;

// Makes the database of a new cloud: empty tables and the containers that every
// cloud has. Throws SqliteError.
void createCloudDatabase(const std::filesystem::path& file, const std::string& cloudIdentifier);

// Throws Corrupt when the database is not that of the cloud `cloudIdentifier`, and
// NewerVersion when its tables are newer than this program.
void checkCloudDatabase(Database& database, const std::string& cloudIdentifier);

}  // namespace tessera
