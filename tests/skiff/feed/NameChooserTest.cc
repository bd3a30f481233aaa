#include "skiff/feed/NameChooser.h"

#include <gtest/gtest.h>

#include "cloud/DocumentRecord.h"

namespace tessera {
namespace {

TEST(NumberedName, PutsTheNumberBeforeTheExtension) {
  EXPECT_EQ(numberedName("name.txt", 2), "name (2).txt");
  EXPECT_EQ(numberedName("name", 3), "name (3)");
  EXPECT_EQ(numberedName(".hidden", 2), ".hidden (2)");
  EXPECT_EQ(numberedName("archive.tar.gz", 2), "archive.tar (2).gz");
}

TEST(NumberedName, StaysAValidNameOfAtMost255Bytes) {
  std::string umlauts;
  for (int count = 0; count < 127; ++count) umlauts += "\xc3\xa4";
  for (const std::string& name : {std::string(255, 'x'), umlauts, umlauts + "b",
                                  std::string(250, 'x') + ".txt", "a." + std::string(253, 'e')}) {
    std::string numbered = numberedName(name, 12345);
    EXPECT_FALSE(whyNotAnItemName(numbered)) << numbered;
    EXPECT_NE(numbered.find(" (12345)"), std::string::npos);
  }
}

}  // namespace
}  // namespace tessera
