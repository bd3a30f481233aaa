#include "platform/foundation/NSError.h"

#include <gtest/gtest.h>

#include <string>

#include "Described.h"
#include "platform/foundation/NSURL.h"

namespace tessera {
namespace {

TEST(NSError, PrintsDomainAndCodeOfAnErrorWithoutUserInfo) {
  EXPECT_EQ(described(*NSError::errorWithDomain("Trouble", -7)),
            "Error Domain=Trouble Code=-7 \"(null)\"");
}

TEST(NSError, PrintsDescriptionAndUserInfoInTheOrderOfTheKeys) {
  const auto error =
      NSError::errorWithDomain(NSCocoaErrorDomain, NSFileWriteFileExistsError,
                               {{NSLocalizedDescriptionKey, std::string("It is there.")},
                                {"Attempt", std::int64_t{2}},
                                {NSURLErrorKey, NSObjectPtr(NSURL::fileURLWithPath("/a b"))},
                                {"Empty", NSObjectPtr()}});
  EXPECT_EQ(described(*error),
            "Error Domain=NSCocoaErrorDomain Code=516 \"It is there.\" "
            "UserInfo={Attempt=2, Empty=(null), NSLocalizedDescription=It is there., "
            "NSURL=file:///a%20b}");
}

TEST(NSError, PrintsErrorsWithinErrors) {
  const auto inner = NSError::errorWithDomain(NSPOSIXErrorDomain, 28);
  const auto middle = NSError::errorWithDomain("Middle", 2, {{NSUnderlyingErrorKey, inner}});
  const auto outer = NSError::errorWithDomain(NSCocoaErrorDomain, NSFileWriteOutOfSpaceError,
                                              {{NSUnderlyingErrorKey, middle}});
  EXPECT_EQ(described(*outer),
            "Error Domain=NSCocoaErrorDomain Code=640 \"(null)\" UserInfo={NSUnderlyingError="
            "{Error Domain=Middle Code=2 \"(null)\" UserInfo={NSUnderlyingError="
            "{Error Domain=NSPOSIXErrorDomain Code=28 \"(null)\"}}}}");
}

TEST(NSError, StopsPrintingUserInfoOnceTheSinkIsFull) {
  class Counting final : public NSObject {
   public:
    void describe(TextSink& sink) const override {
      ++described;
      sink.append(std::string(50, 'x'));
    }
    mutable int described = 0;
  };
  const auto value = std::make_shared<const Counting>();
  NSErrorUserInfo userInfo;
  for (int i = 0; i < 1000; ++i) userInfo["key" + std::to_string(i)] = NSObjectPtr(value);
  TextSink sink(256);
  NSError("Many", 1, userInfo).describe(sink);
  EXPECT_TRUE(sink.full());
  EXPECT_LE(value->described, 5);
}

TEST(NSError, GivesTheVeryErrorItWasMadeWithAsUnderlying) {
  const auto inner = NSError::errorWithDomain("Inner", 1);
  EXPECT_EQ(
      NSError::errorWithDomain("Outer", 2, {{NSUnderlyingErrorKey, inner}})->underlyingError(),
      inner);
}

TEST(NSError, HasNoUnderlyingErrorWhereNoneStands) {
  EXPECT_EQ(NSError::errorWithDomain("Outer", 2)->underlyingError(), nullptr);
  EXPECT_EQ(NSError("Outer", 2, {{NSUnderlyingErrorKey, std::string("text")}}).underlyingError(),
            nullptr);
  EXPECT_EQ(NSError("Outer", 2, {{NSUnderlyingErrorKey, NSObjectPtr()}}).underlyingError(),
            nullptr);
  EXPECT_EQ(
      NSError("Outer", 2, {{NSUnderlyingErrorKey, NSURL::fileURLWithPath("/")}}).underlyingError(),
      nullptr);
}

TEST(NSError, DescribesItselfByItsTextOrElseByDomainAndCode) {
  EXPECT_EQ(
      NSError("D", 1, {{NSLocalizedDescriptionKey, std::string("text")}}).localizedDescription(),
      "text");
  EXPECT_EQ(NSError("D", -1004).localizedDescription(),
            "The operation couldn’t be completed. (D error -1004.)");
}

}  // namespace
}  // namespace tessera
