#include "skiff/store/StoreSchema.h"

#include "skiff/store/ItemID.h"
#include "skiff/store/SkiffError.h"
#include "sqlite/Database.h"
#include "sqlite/Transaction.h"

namespace tessera {

namespace {

// `fold` is the name with ASCII letters in lower case and `recency` the date of modification,
// negated: with them every order is ascending over plain columns, so that a page can start at
// a row value inside an index.
constexpr const char* kSchema = R"sql(
CREATE TABLE meta(
  key TEXT PRIMARY KEY,
  value ANY NOT NULL
) WITHOUT ROWID;

CREATE TABLE containers(
  id INTEGER PRIMARY KEY,
  identifier TEXT NOT NULL UNIQUE,
  displayName TEXT NOT NULL,
  folder INTEGER NOT NULL
);

CREATE TABLE items(
  id INTEGER PRIMARY KEY,
  seq INTEGER NOT NULL,
  uuid BLOB NOT NULL,
  parent INTEGER NOT NULL,
  role INTEGER NOT NULL,
  kind INTEGER NOT NULL,
  name TEXT NOT NULL,
  fold TEXT NOT NULL,
  cloudName TEXT,
  container INTEGER NOT NULL,
  recordName TEXT,
  changeTag TEXT NOT NULL,
  contentHash TEXT NOT NULL,
  contentSize INTEGER NOT NULL,
  targetContainer TEXT,
  targetRecord TEXT,
  size INTEGER NOT NULL,
  created INTEGER NOT NULL,
  recency INTEGER NOT NULL,
  lastUsed INTEGER,
  favoriteRank INTEGER,
  contentType TEXT NOT NULL,
  tags TEXT,
  executable INTEGER NOT NULL,
  children INTEGER NOT NULL,
  state INTEGER NOT NULL,
  device INTEGER,
  inode INTEGER,
  fileSize INTEGER,
  fileModified INTEGER,
  localHash TEXT,
  uploaded INTEGER NOT NULL
);
CREATE UNIQUE INDEX items_by_uuid ON items(uuid);
CREATE UNIQUE INDEX items_by_name ON items(parent, fold, name);
CREATE INDEX items_by_date ON items(parent, recency, fold, name);
CREATE UNIQUE INDEX items_by_seq ON items(seq, parent);
CREATE INDEX folders_by_name ON items(fold, name) WHERE kind = 0 AND role <> 2;
CREATE INDEX folders_by_date ON items(recency, fold, name) WHERE kind = 0 AND role <> 2;
CREATE INDEX items_of_other_name ON items(parent, cloudName) WHERE cloudName IS NOT NULL;
CREATE INDEX items_unsettled ON items(state)
  WHERE kind = 1 AND (state = 1 OR (state = 0 AND inode IS NOT NULL));
CREATE INDEX documents_present ON items(size) WHERE kind = 1 AND state = 2;
CREATE INDEX items_by_other_record ON items(container, recordName) WHERE recordName IS NOT NULL;
CREATE INDEX items_by_inode ON items(inode) WHERE inode IS NOT NULL;
CREATE INDEX references_by_target ON items(targetRecord) WHERE targetRecord IS NOT NULL;

CREATE TABLE departures(
  seq INTEGER PRIMARY KEY,
  id INTEGER NOT NULL,
  uuid BLOB NOT NULL,
  parent INTEGER NOT NULL,
  dead INTEGER NOT NULL
);
CREATE INDEX departures_by_item ON departures(id) WHERE dead = 1;

-- Folders in which things are being moved just now; see changeTree.
CREATE TABLE touched(folder INTEGER PRIMARY KEY);

CREATE TABLE parked(
  container INTEGER NOT NULL,
  recordName TEXT NOT NULL,
  parentName TEXT NOT NULL,
  PRIMARY KEY(container, recordName)
) WITHOUT ROWID;
CREATE INDEX parked_by_parent ON parked(container, parentName);
)sql";

}  // namespace

void throwStoreIsNewer() {
  throw SkiffError(SkiffError::Code::NewerVersion,
                   "The item store was written by a newer version of this program. "
                   "Install that version to go on with this home.");
}

void prepareStore(Database& database) {
  Transaction transaction(database, Transaction::Kind::Write);
  std::int64_t format = database.userVersion();
  if (format > kStoreFormat) throwStoreIsNewer();
  if (format == 0) {
    database.execute(kSchema);
    // Tells the tokens of this store from those of one that was deleted and made again.
    database.run("INSERT INTO meta(key, value) VALUES('generation', ?)",
                 ItemID::random().toString());
    database.run("INSERT INTO meta(key, value) VALUES('home', ?)", ItemID::random().toString());
    database.run("INSERT INTO meta(key, value) VALUES('sequence', 0)");
    database.setUserVersion(kStoreFormat);
  }
  transaction.commit();
}

}  // namespace tessera
