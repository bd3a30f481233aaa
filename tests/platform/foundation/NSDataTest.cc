#include "platform/foundation/NSData.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include "Described.h"

namespace tessera {
namespace {

NSDataPtr counting(std::size_t length) {
  std::vector<std::uint8_t> bytes(length);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  return NSData::dataWithBytes(bytes);
}

TEST(NSData, HoldsTheBytesItWasMadeOf) {
  const auto data = NSData::dataWithText("añb");
  EXPECT_EQ(data->length(), 4U);
  EXPECT_EQ(std::vector<std::uint8_t>(data->bytes().begin(), data->bytes().end()),
            (std::vector<std::uint8_t>{'a', 0xC3, 0xB1, 'b'}));
}

TEST(NSData, ComparesByContent) {
  EXPECT_TRUE(counting(30)->isEqualToData(*counting(30)));
  EXPECT_FALSE(counting(30)->isEqualToData(*counting(31)));
  EXPECT_FALSE(NSData::dataWithText("a")->isEqualToData(*NSData::dataWithText("b")));
  EXPECT_TRUE(NSData::dataWithText("")->isEqualToData(*counting(0)));
}

TEST(NSData, PrintsShortDataWhole) {
  EXPECT_EQ(described(*NSData::dataWithText("")), "{length = 0, bytes = 0x}");
  EXPECT_EQ(described(*NSData::dataWithText("\x01\xAB\xFF")), "{length = 3, bytes = 0x01abff}");
  EXPECT_EQ(described(*counting(24)),
            "{length = 24, bytes = 0x000102030405060708090a0b0c0d0e0f1011121314151617}");
}

TEST(NSData, PrintsTheEndsOfLongData) {
  EXPECT_EQ(described(*counting(25)),
            "{length = 25, bytes = 0x000102030405060708090a0b0c0d0e0f ... 1112131415161718}");
}

}  // namespace
}  // namespace tessera
