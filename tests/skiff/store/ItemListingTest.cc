#include "skiff/store/ItemListing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "ScratchStore.h"
#include "skiff/store/SkiffError.h"

namespace tessera {
namespace {

std::vector<std::string> names(const ItemPage& page) {
  std::vector<std::string> result;
  for (const StoredItem& item : page.items) result.push_back(item.name);
  return result;
}

std::vector<std::string> listAll(ItemListing& listing, std::int64_t folder, SortOrder order,
                                 std::uint64_t limit) {
  std::vector<std::string> result;
  std::uint64_t offset = 0;
  do {
    ItemPage page = folder == 0 ? listing.allFolders(order, offset, limit)
                                : listing.entries(folder, order, offset, limit);
    for (const std::string& name : names(page)) result.push_back(name);
    offset = page.nextOffset;
  } while (offset != 0);
  return result;
}

TEST(ItemListing, ByNameFoldsAsciiCaseThenComparesBytes) {
  ScratchStore store;
  for (const char* name : {"b", "a", "B", "Ab", "ab", "Z", "_", "\xc3\xa4"}) {
    store.add(store.root.id, name);
  }
  ItemListing listing(*store);
  std::vector<std::string> expected{"_", "a", "Ab", "ab", "B", "b", "Z", "\xc3\xa4"};
  for (std::uint64_t limit : {1, 2, 3, 8, 1000}) {
    EXPECT_EQ(listAll(listing, store.root.id, SortOrder::ByName, limit), expected) << limit;
  }
}

TEST(ItemListing, ByDateIsLatestFirstThenByName) {
  ScratchStore store;
  auto add = [&store](const char* name, std::int64_t date) {
    StoredItem item = ScratchStore::item(store.root.id, name);
    item.modifiedAt = date;
    store->write([&item](StoreWriter& writer) { writer.insert(item); });
  };
  add("old", -5);
  add("b", 10);
  add("A", 10);
  add("new", 20);
  ItemListing listing(*store);
  std::vector<std::string> expected{"new", "A", "b", "old"};
  for (std::uint64_t limit : {1, 2, 3, 4}) {
    EXPECT_EQ(listAll(listing, store.root.id, SortOrder::ByDate, limit), expected) << limit;
  }
}

TEST(ItemListing, NextOffsetCountsRowsAndIsZeroAtTheEnd) {
  ScratchStore store;
  for (int index = 0; index < 4; ++index) store.add(store.root.id, std::to_string(index));
  ItemListing listing(*store);
  EXPECT_EQ(listing.entries(store.root.id, SortOrder::ByName, 0, 2).nextOffset, 2u);
  EXPECT_EQ(listing.entries(store.root.id, SortOrder::ByName, 2, 2).nextOffset, 0u);
  EXPECT_EQ(listing.entries(store.root.id, SortOrder::ByName, 0, 4).nextOffset, 0u);
  EXPECT_TRUE(listing.entries(store.root.id, SortOrder::ByName, 400, 2).items.empty());
}

TEST(ItemListing, AnUnknownBoundaryIsWalkedTo) {
  ScratchStore store;
  for (int index = 0; index < 6; ++index) store.add(store.root.id, std::to_string(index));
  ItemListing listing(*store);
  EXPECT_EQ(names(listing.entries(store.root.id, SortOrder::ByName, 3, 2)),
            (std::vector<std::string>{"3", "4"}));
}

TEST(ItemListing, SkipsNothingWhenTheFolderShrinksBetweenPages) {
  ScratchStore store;
  std::vector<StoredItem> items;
  for (int index = 0; index < 9; ++index) {
    items.push_back(store.add(store.root.id, std::to_string(index)));
  }
  ItemListing listing(*store);
  EXPECT_EQ(names(listing.entries(store.root.id, SortOrder::ByName, 0, 3)),
            (std::vector<std::string>{"0", "1", "2"}));
  store.remove(items[0]);
  store.remove(items[1]);
  // Another listing passes by in between.
  EXPECT_EQ(names(listing.entries(store.root.id, SortOrder::ByName, 0, 3)),
            (std::vector<std::string>{"2", "3", "4"}));
  EXPECT_EQ(names(listing.entries(store.root.id, SortOrder::ByName, 3, 3)),
            (std::vector<std::string>{"3", "4", "5"}));
}

TEST(ItemListing, AListingAfterAChangeShowsEachRowOnce) {
  ScratchStore store;
  std::vector<StoredItem> items;
  for (int index = 0; index < 9; ++index) {
    items.push_back(store.add(store.root.id, std::to_string(index)));
  }
  ItemListing listing(*store);
  EXPECT_EQ(listAll(listing, store.root.id, SortOrder::ByName, 2).size(), 9u);
  store.remove(items[0]);
  EXPECT_EQ(listAll(listing, store.root.id, SortOrder::ByName, 2),
            (std::vector<std::string>{"1", "2", "3", "4", "5", "6", "7", "8"}));
}

TEST(ItemListing, AllFoldersShowsEveryFolderButTheRootAlsoOfEqualNames) {
  ScratchStore store;
  StoredItem a = store.add(store.root.id, "a", ItemKind::Folder);
  StoredItem b = store.add(a.id, "same", ItemKind::Folder);
  store.add(b.id, "same", ItemKind::Folder);
  store.add(store.root.id, "document");
  ItemListing listing(*store);
  for (SortOrder order : {SortOrder::ByName, SortOrder::ByDate}) {
    for (std::uint64_t limit : {1, 2, 5}) {
      EXPECT_EQ(listAll(listing, 0, order, limit), (std::vector<std::string>{"a", "same", "same"}));
    }
  }
}

TEST(ItemListing, RefusesPagesThatMakeNoSense) {
  ScratchStore store;
  ItemListing listing(*store);
  EXPECT_THROW((void)listing.entries(store.root.id, SortOrder::ByName, 0, 0), SkiffError);
  EXPECT_THROW((void)listing.entries(store.root.id, SortOrder::ByName, 0, 1001), SkiffError);
  EXPECT_THROW((void)listing.entries(store.root.id, SortOrder::ByName, ~0ull, 1), SkiffError);
}

TEST(ItemListing, PagesStartInsideTheIndex) {
  ScratchStore store;
  ItemStore::Reader reader = store->reader();
  for (const char* condition :
       {"parent = 1 AND (fold, name) > ('a', 'a') ORDER BY fold, name",
        "parent = 1 AND (recency, fold, name) > (1, 'a', 'a') ORDER BY recency, fold, name",
        "kind = 0 AND role <> 2 AND (fold, name, id) > ('a', 'a', 1) ORDER BY fold, name, id"}) {
    Statement plan = reader->database().query(
        std::string("EXPLAIN QUERY PLAN SELECT * FROM items WHERE ") + condition);
    ASSERT_TRUE(plan.step());
    std::string detail = plan.string(3);
    EXPECT_NE(detail.find(")>("), std::string::npos) << detail;
    EXPECT_FALSE(plan.step()) << plan.string(3);
  }
}

}  // namespace
}  // namespace tessera
