#include "cli/LogLine.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(LogLine, TakesALineApart) {
  const auto line =
      LogLine::parse("2026-01-31T12:00:00.000001Z 42 43 debug tessera.client [DEBUG] ┗1 ");
  ASSERT_TRUE(line.has_value());
  EXPECT_EQ(line->process, "42");
  EXPECT_EQ(line->type, "debug");
  EXPECT_EQ(line->text, "[DEBUG] ┗1 ");
}

TEST(LogLine, IsNotFooledByOtherText) {
  EXPECT_FALSE(LogLine::parse("").has_value());
  EXPECT_FALSE(LogLine::parse("a b c d e f").has_value());
  EXPECT_FALSE(LogLine::parse("time 1 2 debug").has_value());
}

TEST(LogLine, RanksTheLevels) {
  EXPECT_LT(*logLevelRank("error"), *logLevelRank("default"));
  EXPECT_LT(*logLevelRank("info"), *logLevelRank("debug"));
  EXPECT_EQ(logLevelRank("fault"), logLevelRank("error"));
  EXPECT_FALSE(logLevelRank("loud").has_value());
}

}  // namespace
}  // namespace tessera
