#include "sqlite/Transaction.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "ScratchDatabase.h"
#include "sqlite/Database.h"
#include "sqlite/SqliteError.h"

namespace tessera {
namespace {

std::int64_t count(Database& database) {
  auto row = database.query("SELECT count(*) FROM item");
  row.step();
  return row.int64(0);
}

TEST(Transaction, KeepsWhatWasCommitted) {
  ScratchDatabase scratch;
  {
    Database database(scratch.file());
    database.execute("CREATE TABLE item (n INTEGER)");
    Transaction transaction(database, Transaction::Kind::Write);
    database.run("INSERT INTO item VALUES (1)");
    transaction.commit();
    EXPECT_FALSE(database.inTransaction());
  }
  Database again(scratch.file());
  EXPECT_EQ(count(again), 1);
}

TEST(Transaction, RollsBackOnAnException) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (n INTEGER)");
  EXPECT_THROW(
      {
        Transaction transaction(database, Transaction::Kind::Write);
        database.run("INSERT INTO item VALUES (1)");
        throw std::runtime_error("changed my mind");
      },
      std::runtime_error);
  EXPECT_FALSE(database.inTransaction());
  EXPECT_EQ(count(database), 0);
}

TEST(Transaction, RollsBackWholeWhenTheStorageIsFull) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (body BLOB); PRAGMA max_page_count = 8");
  try {
    Transaction transaction(database, Transaction::Kind::Write);
    database.run("INSERT INTO item VALUES (zeroblob(10))");
    database.run("INSERT INTO item VALUES (zeroblob(1000000))");
    transaction.commit();
    FAIL() << "a full database took a row";
  } catch (const SqliteError& error) {
    EXPECT_TRUE(error.isFull());
  }
  EXPECT_FALSE(database.inTransaction());
  EXPECT_EQ(count(database), 0);
}

TEST(Transaction, ForReadingSeesOneStateThroughout) {
  ScratchDatabase scratch;
  Database writer(scratch.file());
  writer.execute("CREATE TABLE item (n INTEGER)");
  Database reader(scratch.file());
  {
    Transaction reading(reader, Transaction::Kind::Read);
    EXPECT_EQ(count(reader), 0);
    writer.run("INSERT INTO item VALUES (1)");
    EXPECT_EQ(count(reader), 0);
  }
  EXPECT_EQ(count(reader), 1);
}

}  // namespace
}  // namespace tessera
