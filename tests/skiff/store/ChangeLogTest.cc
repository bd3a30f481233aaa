#include "skiff/store/ChangeLog.h"

#include <gtest/gtest.h>

#include "ScratchStore.h"
#include "skiff/store/SkiffError.h"

namespace tessera {
namespace {

std::vector<std::string> describe(const ChangeBatch& batch) {
  std::vector<std::string> result;
  for (const ChangeBatch::Entry& entry : batch.entries) {
    if (entry.item) {
      result.push_back("+" + entry.item->name);
    } else {
      result.push_back(entry.departure->dead ? "-" : ">");
    }
  }
  return result;
}

TEST(ChangeLog, TellsChangesAndDeletionsInTheOrderTheyHappened) {
  ScratchStore store;
  std::int64_t start = store->sequence();
  StoredItem a = store.add(store.root.id, "a");
  StoredItem b = store.add(store.root.id, "b");
  store.remove(a);
  b.name = "c";
  store.update(b);
  ChangeLog log(*store);
  auto reader = store->reader();
  // The root comes too: it has another number of children.
  EXPECT_EQ(describe(log.after(*reader, start, 100, true)),
            (std::vector<std::string>{"-", "+", "+c"}));
}

TEST(ChangeLog, PagesMeetWithoutGapOrRepeat) {
  ScratchStore store;
  std::int64_t start = store->sequence();
  for (int index = 0; index < 10; ++index) {
    StoredItem item = store.add(store.root.id, std::to_string(index));
    if (index % 2 == 0) store.remove(item);
  }
  ChangeLog log(*store);
  auto reader = store->reader();
  std::vector<std::string> whole = describe(log.after(*reader, start, 100, true));
  std::vector<std::string> pieces;
  std::int64_t since = start;
  for (;;) {
    ChangeBatch batch = log.after(*reader, since, 3, true);
    if (batch.entries.empty()) break;
    for (const std::string& entry : describe(batch)) pieces.push_back(entry);
    since = batch.entries.back().seq;
  }
  EXPECT_EQ(pieces, whole);
  EXPECT_EQ(since, store->sequence());
}

TEST(ChangeLog, MovesLeaveADepartureForWhoWatchesTheOldFolder) {
  ScratchStore store;
  StoredItem folder = store.add(store.root.id, "folder", ItemKind::Folder);
  StoredItem item = store.add(store.root.id, "item");
  std::int64_t start = store->sequence();
  item.parent = folder.id;
  store.update(item);
  ChangeLog log(*store);
  auto reader = store->reader();
  ChangeBatch with = log.after(*reader, start, 100, true);
  ASSERT_TRUE(with.entries.front().departure);
  EXPECT_EQ(with.entries.front().departure->parent, store.root.id);
  EXPECT_FALSE(with.entries.front().departure->dead);
  for (const auto& entry : log.after(*reader, start, 100, false).entries) {
    EXPECT_FALSE(entry.departure);
  }
}

TEST(ChangeLog, TakesItsOwnTokensOnly) {
  ScratchStore store;
  ScratchStore other;
  store.add(store.root.id, "a");
  ChangeLog log(*store);
  auto reader = store->reader();
  std::string good = log.token(store->sequence());
  EXPECT_EQ(log.parse(good, *reader), store->sequence());
  EXPECT_EQ(log.parse("", *reader), 0);
  for (const std::string& token :
       {ChangeLog(*other).token(1), std::string("x"), good.substr(0, 20), good + "x",
        good.substr(0, good.find('.') + 1), log.token(store->sequence() + 1), log.token(-1),
        log.token(1) + std::string(100, '0'), std::string("initialSyncAnchor")}) {
    try {
      (void)log.parse(token, *reader);
      ADD_FAILURE() << token;
    } catch (const SkiffError& error) {
      EXPECT_EQ(error.code(), SkiffError::Code::TokenExpired);
    }
  }
}

TEST(ChangeLog, ATokenOlderThanTheKeptTombstonesHasExpired) {
  ScratchStore store;
  store.add(store.root.id, "a");
  store->write([](StoreWriter& writer) { writer.setNumber("expiredUpTo", 2); });
  ChangeLog log(*store);
  auto reader = store->reader();
  EXPECT_THROW((void)log.parse(log.token(1), *reader), SkiffError);
  EXPECT_EQ(log.parse(log.token(2), *reader), 2);
}

}  // namespace
}  // namespace tessera
