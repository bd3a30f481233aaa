#include "linux/ErrorCodec.h"

#include <string>

#include <capnp/message.h>
#include <gtest/gtest.h>

#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/foundation/NSData.h"
#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVErrors.h"
#include "platform/tessera/GVQueryItem.h"

namespace tessera {
namespace {

NSErrorPtr acrossTheWire(const NSErrorPtr& error) {
  capnp::MallocMessageBuilder message;
  auto wire = message.initRoot<wire::Error>();
  encodeError(error, wire);
  return decodeError(wire.asReader());
}

std::string textUnder(const NSErrorPtr& error, const std::string& key) {
  return std::get<std::string>(error->userInfo().at(key));
}

unsigned levelsOf(NSErrorPtr error) {
  unsigned levels = 0;
  for (; error; error = error->underlyingError()) ++levels;
  return levels;
}

TEST(ErrorCodec, KeepsNoErrorAsNoError) {
  EXPECT_EQ(acrossTheWire(nullptr), nullptr);
}

TEST(ErrorCodec, KeepsDomainCodeTextsAndNumbers) {
  const auto error = acrossTheWire(NSError::errorWithDomain(
      "SomeDomain", -1005,
      {{NSLocalizedDescriptionKey, std::string("größer")}, {"retries", std::int64_t{-7}}}));
  EXPECT_EQ(error->domain(), "SomeDomain");
  EXPECT_EQ(error->code(), -1005);
  EXPECT_EQ(error->localizedDescription(), "größer");
  EXPECT_EQ(std::get<std::int64_t>(error->userInfo().at("retries")), -7);
  EXPECT_EQ(error->userInfo().size(), 2U);
}

TEST(ErrorCodec, KeepsUnderlyingErrorsUrlsAndItemsIdentifiers) {
  const auto identifier =
      GVFileObjectID::fileObjectIDWithString("01234567-89ab-cdef-0123-456789abcdef");
  const auto item = std::make_shared<const GVQueryItem>(GVItemFields(*identifier));
  const auto inner =
      NSError::errorWithDomain(NSCocoaErrorDomain, NSFileWriteFileExistsError,
                               {{NSURLErrorKey, NSObjectPtr(NSURL::fileURLWithPath("/tree/a b"))}});
  const auto error = acrossTheWire(
      NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorFilenameCollision,
                               {{NSUnderlyingErrorKey, NSObjectPtr(inner)},
                                {NSFileProviderErrorCollidingItemKey, NSObjectPtr(item)}}));
  ASSERT_NE(error->underlyingError(), nullptr);
  EXPECT_EQ(error->underlyingError()->code(), NSFileWriteFileExistsError);
  EXPECT_EQ(fp_collidingURL(error->underlyingError())->path(), "/tree/a b");
  EXPECT_EQ(textUnder(error, NSFileProviderErrorCollidingItemKey), identifier->asString());
}

TEST(ErrorCodec, SendsOtherObjectsAsTheTextThatTheyPrint) {
  const auto error = acrossTheWire(NSError::errorWithDomain(
      "D", 1, {{"data", NSObjectPtr(NSData::dataWithText("xyz"))}, {"nothing", NSObjectPtr()}}));
  EXPECT_FALSE(textUnder(error, "data").empty());
  EXPECT_FALSE(error->userInfo().contains("nothing"));
}

TEST(ErrorCodec, NeverTurnsAFailureWithoutDomainIntoSuccess) {
  const auto error = acrossTheWire(NSError::errorWithDomain("", 5));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), GVTesseraErrorDomain);
  EXPECT_EQ(error->code(), GVTesseraErrorUnknown);
}

TEST(ErrorCodec, WritesAtMostEightLevels) {
  NSErrorPtr error = NSError::errorWithDomain("D", 0);
  for (int level = 1; level < 40; ++level) {
    error = NSError::errorWithDomain("D", level, {{NSUnderlyingErrorKey, NSObjectPtr(error)}});
  }
  EXPECT_EQ(levelsOf(acrossTheWire(error)), kMaxErrorLevels);
}

TEST(ErrorCodec, ReadsAtMostEightLevels) {
  capnp::MallocMessageBuilder message;
  auto level = message.initRoot<wire::Error>();
  const auto root = level;
  for (int depth = 0; depth < 30; ++depth) {
    level.setDomain("D");
    auto entry = level.initUserInfo(1)[0];
    entry.setKey(NSUnderlyingErrorKey);
    level = entry.getValue().initError();
  }
  level.setDomain("D");
  EXPECT_EQ(levelsOf(decodeError(root.asReader())), kMaxErrorLevels);
}

TEST(ErrorCodec, LimitsTheNumberOfEntries) {
  capnp::MallocMessageBuilder message;
  auto wire = message.initRoot<wire::Error>();
  wire.setDomain("D");
  auto entries = wire.initUserInfo(1000);
  for (unsigned i = 0; i < entries.size(); ++i) {
    entries[i].setKey(std::to_string(i));
    entries[i].getValue().setNumber(i);
  }
  EXPECT_EQ(decodeError(wire.asReader())->userInfo().size(), kMaxErrorUserInfoEntries);

  NSErrorUserInfo many;
  for (int i = 0; i < 1000; ++i) many[std::to_string(i)] = std::int64_t{i};
  EXPECT_EQ(acrossTheWire(NSError::errorWithDomain("D", 1, many))->userInfo().size(),
            kMaxErrorUserInfoEntries);
}

TEST(ErrorCodec, TakesARelativePathForAText) {
  capnp::MallocMessageBuilder message;
  auto wire = message.initRoot<wire::Error>();
  wire.setDomain("D");
  auto entry = wire.initUserInfo(1)[0];
  entry.setKey(NSURLErrorKey);
  entry.getValue().setPath("not/absolute");
  const auto error = decodeError(wire.asReader());
  EXPECT_EQ(fp_collidingURL(error), nullptr);
  EXPECT_EQ(textUnder(error, NSURLErrorKey), "not/absolute");
}

}  // namespace
}  // namespace tessera
