#include "platform/foundation/TextSink.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tessera {
namespace {

std::string kept(std::size_t limit, std::initializer_list<std::string_view> texts) {
  TextSink sink(limit);
  for (const auto text : texts) sink.append(text);
  return std::move(sink).take();
}

TEST(TextSink, KeepsWhatFits) {
  TextSink sink(6);
  sink.append("abc");
  sink.append("def");
  sink.append("");
  EXPECT_EQ(sink.text(), "abcdef");
  EXPECT_FALSE(sink.full());
}

TEST(TextSink, MarksWhereItWasCutWithinTheLimit) {
  TextSink sink(6);
  sink.append("abc");
  sink.append("defg");
  EXPECT_TRUE(sink.full());
  EXPECT_EQ(sink.text(), "abc…");
  sink.append("h");
  EXPECT_EQ(sink.text(), "abc…");
}

TEST(TextSink, CutsIntoTextThatHadFitted) {
  EXPECT_EQ(kept(6, {"abcdef", "g"}), "abc…");
}

TEST(TextSink, NeverSplitsAUtf8Sequence) {
  EXPECT_EQ(kept(7, {"aéé", "éé"}), "aé…");     // room for 4: the second é would be split
  EXPECT_EQ(kept(8, {"aéé", "éé"}), "aéé…");    // room for 5
  EXPECT_EQ(kept(8, {"日本語文"}), "日…");      // room for 5 of 3 each
  EXPECT_EQ(kept(9, {"日本語文"}), "日本…");    // room for 6
  EXPECT_EQ(kept(6, {"🙂🙂"}), "…");        // room for 3 of 4
  EXPECT_EQ(kept(7, {"🙂🙂"}), "🙂…");  // room for 4
}

TEST(TextSink, CutsBytesThatAreNoUtf8WhereTheyAre) {
  EXPECT_EQ(kept(8, {"\x80\x80\x80\x80\x80\x80\x80\x80\x80"}), "\x80\x80\x80\x80\x80…");
}

TEST(TextSink, LeavesTheMarkOutWhereItDoesNotFit) {
  EXPECT_EQ(kept(2, {"abc"}), "ab");
  EXPECT_EQ(kept(2, {"aé"}), "a");
  EXPECT_EQ(kept(0, {"a"}), "");
}

}  // namespace
}  // namespace tessera
