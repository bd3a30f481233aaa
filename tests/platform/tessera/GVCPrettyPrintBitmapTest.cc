#include "platform/tessera/GVCPrettyPrintBitmap.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

constexpr GVCBitName kTable[] = {{0x1, "one"}, {0x4, "four"}, {0, nullptr}};

TEST(GVCPrettyPrintBitmap, NamesTheSetBitsInTheOrderOfTheTable) {
  EXPECT_EQ("one", GVCPrettyPrintBitmap(0x1, kTable));
  EXPECT_EQ("one|four", GVCPrettyPrintBitmap(0x5, kTable));
}

TEST(GVCPrettyPrintBitmap, PrintsBitsWithoutNameAsOneNumber) {
  EXPECT_EQ("0x2", GVCPrettyPrintBitmap(0x2, kTable));
  EXPECT_EQ("four|0x20002", GVCPrettyPrintBitmap(0x20006, kTable));
  EXPECT_EQ("one|four|0xfffffffffffffffa", GVCPrettyPrintBitmap(~std::uint64_t{0}, kTable));
}

TEST(GVCPrettyPrintBitmap, PrintsZeroForNone) {
  EXPECT_EQ("0", GVCPrettyPrintBitmap(0, kTable));
}

}  // namespace
}  // namespace tessera
