#include "skiff/store/PageBoundaries.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

RowKey key(const std::string& name) {
  return {0, name, name, 0};
}

TEST(PageBoundaries, KnowsNothingItWasNotTold) {
  PageBoundaries boundaries;
  EXPECT_FALSE(boundaries.take(1, SortOrder::ByName, 200));
  boundaries.remember(1, SortOrder::ByName, 200, key("b"));
  EXPECT_FALSE(boundaries.take(1, SortOrder::ByDate, 200));
  EXPECT_FALSE(boundaries.take(2, SortOrder::ByName, 200));
  EXPECT_FALSE(boundaries.take(1, SortOrder::ByName, 400));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("b"));
}

TEST(PageBoundaries, KeepsTheSmallestWhileAListingIsToComeBack) {
  PageBoundaries boundaries;
  boundaries.remember(1, SortOrder::ByName, 200, key("b"));
  boundaries.remember(1, SortOrder::ByName, 200, key("d"));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("b"));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("b"));
  boundaries.remember(1, SortOrder::ByName, 200, key("c"));
  boundaries.remember(1, SortOrder::ByName, 200, key("a"));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("a"));
}

TEST(PageBoundaries, ReplacesWhatNobodyWaitsFor) {
  PageBoundaries boundaries;
  boundaries.remember(1, SortOrder::ByName, 200, key("b"));
  ASSERT_TRUE(boundaries.take(1, SortOrder::ByName, 200));
  boundaries.remember(1, SortOrder::ByName, 200, key("d"));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("d"));
}

TEST(PageBoundaries, DoesNotWaitForAbandonedListings) {
  PageBoundaries::Clock::time_point now;
  PageBoundaries boundaries(100, [&now] { return now; });
  boundaries.remember(1, SortOrder::ByName, 200, key("b"));
  now += PageBoundaries::kAbandoned;
  boundaries.remember(1, SortOrder::ByName, 200, key("d"));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 200), key("d"));
}

TEST(PageBoundaries, ForgetsTheLeastRecentlyUsedListing) {
  PageBoundaries boundaries(2);
  boundaries.remember(1, SortOrder::ByName, 200, key("b"));
  boundaries.remember(2, SortOrder::ByName, 200, key("b"));
  ASSERT_TRUE(boundaries.take(1, SortOrder::ByName, 200));
  boundaries.remember(3, SortOrder::ByName, 200, key("b"));
  EXPECT_TRUE(boundaries.take(1, SortOrder::ByName, 200));
  EXPECT_FALSE(boundaries.take(2, SortOrder::ByName, 200));
  EXPECT_TRUE(boundaries.take(3, SortOrder::ByName, 200));
}

TEST(PageBoundaries, OneLargeListingKeepsItsEnd) {
  PageBoundaries boundaries(4);
  for (std::uint64_t offset = 1; offset <= 9; ++offset) {
    boundaries.remember(1, SortOrder::ByName, offset, key(std::to_string(offset)));
  }
  EXPECT_FALSE(boundaries.take(1, SortOrder::ByName, 1));
  EXPECT_EQ(boundaries.take(1, SortOrder::ByName, 9), key("9"));
}

}  // namespace
}  // namespace tessera
