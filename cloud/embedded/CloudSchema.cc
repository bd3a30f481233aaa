#include "cloud/embedded/CloudSchema.h"

#include "cloud/CloudError.h"
#include "cloud/DocumentRecord.h"
#include "sqlite/Database.h"
#include "sqlite/Transaction.h"

namespace tessera {

namespace {

// `sequence` of an account is the number of its latest change; each record carries
// the number of its own latest change, so that a record changed twice comes once in
// the feed. A deleted record stays as a tombstone, a row without fields, until the
// account's floor has passed it.
constexpr const char* kTables = R"(
CREATE TABLE cloud (
  only_row INTEGER PRIMARY KEY CHECK (only_row = 1),
  identifier TEXT NOT NULL,
  containers_version INTEGER NOT NULL
);
CREATE TABLE account (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL UNIQUE,
  identifier TEXT NOT NULL UNIQUE,
  sequence INTEGER NOT NULL DEFAULT 0,
  floor INTEGER NOT NULL DEFAULT 0
);
CREATE TABLE container (
  identifier TEXT PRIMARY KEY,
  display_name TEXT NOT NULL UNIQUE
) WITHOUT ROWID;
CREATE TABLE container_icon (
  container TEXT NOT NULL REFERENCES container (identifier),
  position INTEGER NOT NULL,
  width INTEGER NOT NULL,
  height INTEGER NOT NULL,
  sha256 TEXT NOT NULL,
  size INTEGER NOT NULL,
  PRIMARY KEY (container, position)
) WITHOUT ROWID;
CREATE TABLE zone (
  id INTEGER PRIMARY KEY,
  account INTEGER NOT NULL REFERENCES account (id),
  container TEXT NOT NULL REFERENCES container (identifier),
  UNIQUE (account, container)
);
CREATE TABLE record (
  id INTEGER PRIMARY KEY,
  account INTEGER NOT NULL REFERENCES account (id),
  zone INTEGER NOT NULL REFERENCES zone (id),
  name TEXT NOT NULL,
  type TEXT NOT NULL,
  sequence INTEGER NOT NULL,
  version INTEGER NOT NULL,
  modified_at INTEGER NOT NULL,
  fields BLOB,
  UNIQUE (zone, name)
);
CREATE UNIQUE INDEX record_by_sequence ON record (account, sequence);
)";

}  // namespace

void createCloudDatabase(const std::filesystem::path& file, const std::string& cloudIdentifier) {
  Database database(file);
  Transaction transaction(database, Transaction::Kind::Write);
  database.execute(kTables);
  database.run("INSERT INTO cloud VALUES (1, ?, 1)", cloudIdentifier);
  auto add = database.statement("INSERT INTO container VALUES (?, ?)");
  add.run(kDefaultContainer, "Tessera");
  add.run(kDocumentsContainer, "Documents");
  add.run(kDesktopContainer, "Desktop");
  database.setUserVersion(kCloudSchemaVersion);
  transaction.commit();
}

void checkCloudDatabase(Database& database, const std::string& cloudIdentifier) {
  if (database.userVersion() > kCloudSchemaVersion) {
    throw CloudError(CloudError::Code::NewerVersion,
                     "This cloud's database was written by a newer version of Tessera. Update "
                     "Tessera on this device to use it.");
  }
  auto row = database.query("SELECT identifier FROM cloud");
  if (!row.step() || row.text(0) != cloudIdentifier) {
    throw CloudError(CloudError::Code::Corrupt,
                     "The database in the cloud's folder belongs to another cloud. Restore the "
                     "whole folder from one backup.");
  }
}

}  // namespace tessera
