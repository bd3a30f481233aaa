#include "platform/log/LogFormat.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSURL.h"

namespace tessera {
namespace {

using Kind = LogArgumentKind;

TEST(LogFormat, ReadsEachConversion) {
  const struct {
    std::string_view text;
    LogConversion::Form form;
    std::size_t length;
    int precision;
  } kTable[] = {
      {"%%d", LogConversion::Percent, 2, 0},   {"%llxx", LogConversion::Hex, 4, 0},
      {"%llu", LogConversion::Unsigned, 4, 0}, {"%lu", LogConversion::Size, 3, 0},
      {"%lld", LogConversion::Signed, 4, 0},   {"%d", LogConversion::Int, 2, 0},
      {"%s", LogConversion::CString, 2, 0},    {"%@", LogConversion::Object, 2, 0},
      {"%.2f", LogConversion::Fixed, 4, 2},    {"%.0f)", LogConversion::Fixed, 4, 0},
  };
  for (const auto& row : kTable) {
    const auto conversion = LogConversion::parse(row.text);
    EXPECT_EQ(conversion.form, row.form) << row.text;
    EXPECT_EQ(conversion.length, row.length) << row.text;
    EXPECT_EQ(conversion.precision, row.precision) << row.text;
  }
}

TEST(LogFormat, KnowsNoOtherConversion) {
  for (const std::string_view text : {"%", "%l", "%ll", "%ld", "%x", "%u", "%f", "%.f", "%.12f",
                                      "%2d", "% d", "%c", "%p", "%*d", "%n"}) {
    EXPECT_EQ(LogConversion::parse(text).form, LogConversion::Invalid) << text;
  }
}

TEST(LogFormat, TellsTheKindOfEachTypeThatCanBePrinted) {
  EXPECT_EQ(logArgumentKind<std::uint64_t>(), Kind::UnsignedLong);
  EXPECT_EQ(logArgumentKind<unsigned long long>(), Kind::UnsignedLongLong);
  EXPECT_EQ(logArgumentKind<std::int64_t>(), Kind::SignedLong);
  EXPECT_EQ(logArgumentKind<long long>(), Kind::SignedLong);
  EXPECT_EQ(logArgumentKind<int>(), Kind::Int);
  EXPECT_EQ(logArgumentKind<double>(), Kind::Double);
  EXPECT_EQ(logArgumentKind<char[5]>(), Kind::CString);
  EXPECT_EQ(logArgumentKind<const char*>(), Kind::CString);
  EXPECT_EQ(logArgumentKind<std::string>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<std::string_view>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<std::optional<std::string>>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<NSURLPtr>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<NSObjectPtr>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<std::vector<NSURLPtr>>(), Kind::Object);
  EXPECT_EQ(logArgumentKind<std::optional<std::int64_t>>(), Kind::Object);
}

TEST(LogFormat, RefusesTypesThatNoConversionPrints) {
  struct Foreign {};
  EXPECT_EQ(logArgumentKind<bool>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<char>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<unsigned>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<float>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<NSURL*>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<std::shared_ptr<Foreign>>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<std::vector<int>>(), Kind::Unprintable);
  EXPECT_EQ(logArgumentKind<std::optional<int>>(), Kind::Unprintable);
}

}  // namespace
}  // namespace tessera
