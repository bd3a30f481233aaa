#include "cli/Escape.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(Escape, LeavesOrdinaryTextOfAnyScriptAlone) {
  for (const char* text : {"", "plain.txt", "Ünïcödé", "日本語", "😀 smile", "a b"}) {
    EXPECT_EQ(escaped(text), text);
  }
}

TEST(Escape, TakesThePowerFromControlCharacters) {
  EXPECT_EQ(escaped("a\nb\tc\rd"), "a\\nb\\tc\\rd");
  EXPECT_EQ(escaped("\x1b[31mred"), "\\x1b[31mred");
  EXPECT_EQ(escaped("bell\x07 del\x7f"), "bell\\x07 del\\x7f");
  EXPECT_EQ(escaped("\xc2\x9b"
                    "31m"),
            "\\x9b31m");  // U+009B starts a sequence, too
  EXPECT_EQ(escaped(std::string_view("\0", 1)), "\\x00");
}

TEST(Escape, ShowsCharactersThatTurnTheDirectionOfWriting) {
  EXPECT_EQ(escaped("evil\xe2\x80\xaetxt.exe"), "evil\\u202etxt.exe");
  EXPECT_EQ(escaped("\xe2\x81\xa6"), "\\u2066");
}

TEST(Escape, ShowsBytesThatAreNoUtf8) {
  EXPECT_EQ(escaped("\xff"), "\\xff");
  EXPECT_EQ(escaped("cut \xe2\x82"), "cut \\xe2\\x82");
  EXPECT_EQ(escaped("overlong \xc0\xaf"), "overlong \\xc0\\xaf");
  EXPECT_EQ(escaped("surrogate \xed\xa0\x80"), "surrogate \\xed\\xa0\\x80");
  EXPECT_EQ(escaped("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
}

TEST(Escape, MakesBackslashesUnambiguous) {
  EXPECT_EQ(escaped("a\\nb"), "a\\\\nb");
}

}  // namespace
}  // namespace tessera
