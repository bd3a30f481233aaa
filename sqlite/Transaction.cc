#include "sqlite/Transaction.h"

#include "sqlite/Database.h"
#include "sqlite/SqliteError.h"

namespace tessera {

Transaction::Transaction(Database& database, Kind kind) : _database(database) {
  _database.run(kind == Kind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
  _open = true;
}

Transaction::~Transaction() {
  // SQLite itself may have rolled back already, for example on a full disk.
  if (!_open || !_database.inTransaction()) return;
  try {
    _database.run("ROLLBACK");
  } catch (const SqliteError&) {
    // Nothing more can be done here; closing the connection rolls back as well.
  }
}

void Transaction::commit() {
  _database.run("COMMIT");
  _open = false;
}

}  // namespace tessera
