#include "sqlite/Statement.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ScratchDatabase.h"
#include "sqlite/Database.h"
#include "sqlite/SqliteError.h"

namespace tessera {
namespace {

TEST(Statement, ReadsBackEveryTypeItBinds) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  std::string text("a\0b", 3);
  std::vector<std::uint8_t> bytes{0, 255, 7};
  auto row = database.query("SELECT ?, ?, ?, ?, ?, ?, ?", std::int64_t{-5}, 2.5, text, bytes,
                            std::optional<std::int64_t>{}, std::optional<std::string>{"x"}, true);
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.int64(0), -5);
  EXPECT_EQ(row.real(1), 2.5);
  EXPECT_EQ(row.string(2), text);
  EXPECT_EQ(std::vector<std::uint8_t>(row.blob(3).begin(), row.blob(3).end()), bytes);
  EXPECT_TRUE(row.isNull(4));
  EXPECT_EQ(row.optionalInt64(4), std::nullopt);
  EXPECT_EQ(row.optionalString(5), "x");
  EXPECT_EQ(row.optionalInt64(6), 1);
  EXPECT_FALSE(row.step());
}

TEST(Statement, TellsEmptyTextAndBlobFromNull) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  auto row = database.query("SELECT typeof(?), typeof(?)", std::string_view(), BlobView());
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.text(0), "text");
  EXPECT_EQ(row.text(1), "blob");
}

TEST(Statement, KeepsACopyOfWhatWasBoundForAQuery) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  auto row = database.statement("SELECT ?");
  {
    std::string gone(100, 'g');
    row.bind(1, gone);
    gone.assign(100, 'x');
  }
  ASSERT_TRUE(row.step());
  EXPECT_EQ(row.string(0), std::string(100, 'g'));
}

TEST(Statement, RunsAgainWithOtherValues) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (name TEXT)");
  auto insert = database.statement("INSERT INTO item VALUES (?)");
  insert.run("one");
  insert.run("two");
  auto all = database.query("SELECT group_concat(name) FROM item");
  ASSERT_TRUE(all.step());
  EXPECT_EQ(all.text(0), "one,two");
}

TEST(Statement, OfTheSameTextMayBeUsedInsideItself) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (n INTEGER); INSERT INTO item VALUES (1), (2)");
  std::vector<std::pair<std::int64_t, std::int64_t>> pairs;
  auto outer = database.query("SELECT n FROM item ORDER BY n");
  while (outer.step()) {
    auto inner = database.query("SELECT n FROM item ORDER BY n");
    while (inner.step()) pairs.emplace_back(outer.int64(0), inner.int64(0));
  }
  EXPECT_EQ(pairs,
            (std::vector<std::pair<std::int64_t, std::int64_t>>{{1, 1}, {1, 2}, {2, 1}, {2, 2}}));
}

TEST(Statement, ForgetsItsBindingsWhenGivenBack) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  { EXPECT_TRUE(database.query("SELECT ?", "secret").step()); }
  auto row = database.statement("SELECT ?");
  ASSERT_TRUE(row.step());
  EXPECT_TRUE(row.isNull(0));
}

TEST(Statement, ReportsAConstraintWithItsCode) {
  ScratchDatabase scratch;
  Database database(scratch.file());
  database.execute("CREATE TABLE item (name TEXT UNIQUE)");
  database.run("INSERT INTO item VALUES (?)", "one");
  try {
    database.run("INSERT INTO item VALUES (?)", "one");
    FAIL() << "the second row was taken";
  } catch (const SqliteError& error) {
    EXPECT_EQ(error.code(), SQLITE_CONSTRAINT);
    EXPECT_EQ(error.extendedCode(), SQLITE_CONSTRAINT_UNIQUE);
    EXPECT_FALSE(error.isFull());
    EXPECT_NE(std::string(error.what()).find("UNIQUE"), std::string::npos) << error.what();
  }
  database.run("INSERT INTO item VALUES (?)", "two");  // the statement is usable again
}

}  // namespace
}  // namespace tessera
