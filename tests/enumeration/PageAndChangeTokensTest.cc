#include "enumeration/PageAndChangeTokens.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

using Bytes = std::vector<std::uint8_t>;

NSDataPtr data(Bytes bytes) {
  return std::make_shared<NSData>(std::move(bytes));
}

Bytes bytesOf(const NSDataPtr& token) {
  return {token->bytes().begin(), token->bytes().end()};
}

UUIDBytes sampleUUID(std::uint8_t first) {
  UUIDBytes uuid{};
  for (std::size_t i = 0; i < uuid.size(); ++i) uuid[i] = static_cast<std::uint8_t>(first + i);
  return uuid;
}

TEST(PageToken, IsNilForOffsetZero) {
  EXPECT_EQ(nullptr, gv_pageTokenFromSortOrder(1, 0));
  EXPECT_EQ(nullptr, gv_pageTokenFromSortOrder(0, 0));
}

TEST(PageToken, HoldsOffsetAndSortOrderInSixteenBytes) {
  EXPECT_EQ((Bytes{0xC8, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0}),
            bytesOf(gv_pageTokenFromSortOrder(1, 200)));
  EXPECT_EQ((Bytes{0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01, 0, 0, 0, 0, 0, 0, 0, 0}),
            bytesOf(gv_pageTokenFromSortOrder(0, 0x0102030405060708)));
}

TEST(PageToken, GivesBackWhatItWasMadeOf) {
  for (const std::uint8_t sortOrder : {0, 1, 255}) {
    for (const std::uint64_t offset : {std::uint64_t{1}, std::uint64_t{200}, ~std::uint64_t{0}}) {
      const auto token = gv_pageTokenFromSortOrder(sortOrder, offset);
      EXPECT_EQ(sortOrder, gv_pageTokenSortOrder(token));
      EXPECT_EQ(offset, gv_pageTokenOffset(token));
    }
  }
}

TEST(PageToken, IsReadFromThePlatformsInitialPages) {
  EXPECT_EQ(1, gv_pageTokenSortOrder(NSFileProviderInitialPageSortedByDate()));
  EXPECT_EQ(0U, gv_pageTokenOffset(NSFileProviderInitialPageSortedByDate()));
  EXPECT_EQ(0, gv_pageTokenSortOrder(NSFileProviderInitialPageSortedByName()));
  EXPECT_EQ(0U, gv_pageTokenOffset(NSFileProviderInitialPageSortedByName()));
}

TEST(PageToken, KnowsAnInitialPageByItsBytes) {
  const auto copy = data(bytesOf(NSFileProviderInitialPageSortedByDate()));
  EXPECT_EQ(1, gv_pageTokenSortOrder(copy));
  EXPECT_EQ(0U, gv_pageTokenOffset(copy));
  auto longer = bytesOf(NSFileProviderInitialPageSortedByDate());
  longer.push_back('!');
  EXPECT_NE(0U, gv_pageTokenOffset(data(longer)));  // bytes like any others
}

TEST(PageToken, IsTheFirstPageByNameWhenThereIsNone) {
  EXPECT_EQ(0, gv_pageTokenSortOrder(nullptr));
  EXPECT_EQ(0U, gv_pageTokenOffset(nullptr));
}

TEST(PageToken, IsReadFromTheFirstBytesOfALongerOne) {
  const auto token = data({5, 0, 0, 0, 0, 0, 0, 0, 1, 9, 9, 9, 9, 9, 9, 9, 77, 77});
  EXPECT_EQ(5U, gv_pageTokenOffset(token));
  EXPECT_EQ(1, gv_pageTokenSortOrder(token));
}

TEST(PageToken, ReadsMissingBytesAsZero) {
  EXPECT_EQ(0x0201U, gv_pageTokenOffset(data({1, 2})));
  EXPECT_EQ(0, gv_pageTokenSortOrder(data({1, 2})));
  EXPECT_EQ(0U, gv_pageTokenOffset(data({})));
}

TEST(ChangeToken, HoldsRankAndUUIDInTwentyFourBytes) {
  Bytes expected{5, 0, 0, 0, 0, 0, 0, 0};
  for (std::uint8_t i = 0; i < 16; ++i) expected.push_back(static_cast<std::uint8_t>(0x10 + i));
  EXPECT_EQ(expected, bytesOf(gv_changeTokenFromRank(5, sampleUUID(0x10))));
}

TEST(ChangeToken, IsMadeForRankZeroToo) {
  const auto token = gv_changeTokenFromRank(0, sampleUUID(1));
  ASSERT_NE(nullptr, token);
  EXPECT_EQ(0, gv_changeTokenRankWithUUID(token, sampleUUID(1)));
}

TEST(ChangeToken, GivesItsRankOnlyForItsUUID) {
  const auto token = gv_changeTokenFromRank(5, sampleUUID(1));
  EXPECT_EQ(5, gv_changeTokenRankWithUUID(token, sampleUUID(1)));
  EXPECT_EQ(-1, gv_changeTokenRankWithUUID(token, sampleUUID(2)));
  for (std::size_t i = 0; i < 16; ++i) {
    UUIDBytes other = sampleUUID(1);
    other[i] ^= 0x80;
    EXPECT_EQ(-1, gv_changeTokenRankWithUUID(token, other)) << i;
  }
}

TEST(ChangeToken, IsNegativeForHugeRanks) {
  const auto token = gv_changeTokenFromRank(std::uint64_t{1} << 63, sampleUUID(1));
  EXPECT_LT(gv_changeTokenRankWithUUID(token, sampleUUID(1)), 0);
  EXPECT_EQ(std::numeric_limits<std::int64_t>::min(),
            gv_changeTokenRankWithUUID(token, sampleUUID(1)));
}

TEST(ChangeToken, IsExpiredWhenItIsShortOrMissing) {
  EXPECT_EQ(-1, gv_changeTokenRankWithUUID(data({1, 2, 3}), sampleUUID(1)));
  EXPECT_EQ(-1, gv_changeTokenRankWithUUID(nullptr, sampleUUID(1)));
}

TEST(ChangeToken, IsReadFromTheFirstBytesOfALongerOne) {
  auto longer = bytesOf(gv_changeTokenFromRank(5, sampleUUID(1)));
  longer.push_back(99);
  EXPECT_EQ(5, gv_changeTokenRankWithUUID(data(longer), sampleUUID(1)));
}

}  // namespace
}  // namespace tessera
