#include "sqlite/Database.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "ScratchDatabase.h"
#include "sqlite/SqliteError.h"
#include "sqlite/Transaction.h"

namespace tessera {
namespace {

TEST(Database, UsesAWriteAheadLogAndTheDurabilityAskedFor) {
  ScratchDatabase scratch;
  Database full(scratch.file());
  auto mode = full.query("PRAGMA journal_mode");
  ASSERT_TRUE(mode.step());
  EXPECT_EQ(mode.text(0), "wal");
  auto synchronous = full.query("PRAGMA synchronous");
  ASSERT_TRUE(synchronous.step());
  EXPECT_EQ(synchronous.int64(0), 2);

  Database::Options options;
  options.durability = Database::Durability::Normal;
  Database normal(scratch.file(), options);
  auto relaxed = normal.query("PRAGMA synchronous");
  ASSERT_TRUE(relaxed.step());
  EXPECT_EQ(relaxed.int64(0), 1);
}

TEST(Database, RefusesToOpenWhatIsNotThere) {
  ScratchDatabase scratch;
  Database::Options options;
  options.mode = Database::Mode::ReadWrite;
  EXPECT_THROW(Database(scratch.file(), options), SqliteError);
  EXPECT_FALSE(std::filesystem::exists(scratch.file()));
}

TEST(Database, RefusesAFileThatIsNoDatabase) {
  ScratchDatabase scratch;
  std::ofstream(scratch.file()) << std::string(4096, 'x');
  try {
    Database database(scratch.file());
    FAIL() << "opened";
  } catch (const SqliteError& error) {
    EXPECT_EQ(error.code(), SQLITE_NOTADB);
  }
}

TEST(Database, ReadOnlyConnectionsCannotWrite) {
  ScratchDatabase scratch;
  Database writer(scratch.file());
  writer.execute("CREATE TABLE item (n INTEGER)");
  Database::Options options;
  options.mode = Database::Mode::ReadOnly;
  Database reader(scratch.file(), options);
  EXPECT_THROW(reader.run("INSERT INTO item VALUES (1)"), SqliteError);
}

TEST(Database, KeepsItsSchemaVersion) {
  ScratchDatabase scratch;
  {
    Database database(scratch.file());
    EXPECT_EQ(database.userVersion(), 0);
    database.setUserVersion(7);
  }
  Database again(scratch.file());
  EXPECT_EQ(again.userVersion(), 7);
}

TEST(Database, NoticesCommitsOfOtherConnectionsOnly) {
  ScratchDatabase scratch;
  Database mine(scratch.file());
  mine.execute("CREATE TABLE item (n INTEGER)");
  auto before = mine.dataVersion();
  mine.run("INSERT INTO item VALUES (1)");
  EXPECT_EQ(mine.dataVersion(), before);
  Database other(scratch.file());
  other.run("INSERT INTO item VALUES (2)");
  EXPECT_NE(mine.dataVersion(), before);
}

TEST(Database, SaysSoWhenTheStorageIsFull) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (body BLOB); PRAGMA max_page_count = 8");
  try {
    database.run("INSERT INTO item VALUES (zeroblob(1000000))");
    FAIL() << "a full database took a row";
  } catch (const SqliteError& error) {
    EXPECT_EQ(error.code(), SQLITE_FULL);
    EXPECT_TRUE(error.isFull());
  }
}

TEST(Database, GivesUpOnALockAfterTheBusyTimeout) {
  ScratchDatabase scratch;
  Database holder(scratch.file());
  holder.execute("CREATE TABLE item (n INTEGER)");
  Transaction held(holder, Transaction::Kind::Write);
  Database::Options options;
  options.busyTimeout = std::chrono::milliseconds(1);
  Database other(scratch.file(), options);
  try {
    Transaction refused(other, Transaction::Kind::Write);
    FAIL() << "two writers at once";
  } catch (const SqliteError& error) {
    EXPECT_TRUE(error.isBusy());
  }
}

}  // namespace
}  // namespace tessera
