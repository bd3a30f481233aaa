#include "platform/fileprovider/NSFileProviderError.h"

#include <gtest/gtest.h>

#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

TEST(NSFileProviderError, NamesTheItemThatDoesNotExist) {
  const auto error = fileProviderErrorForNonExistentItemWithIdentifier("gone");
  EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
  EXPECT_EQ(-1005, error->code());
  EXPECT_EQ(1U, error->userInfo().size());
  EXPECT_EQ("gone", std::get<std::string>(
                        error->userInfo().at(NSFileProviderErrorNonExistentItemIdentifierKey)));
}

TEST(NSFileProviderError, NamesNothingWithoutAnIdentifier) {
  const auto error = fileProviderErrorForNonExistentItemWithIdentifier(std::nullopt);
  EXPECT_EQ(-1005, error->code());
  EXPECT_TRUE(error->userInfo().empty());
}

TEST(NSFileProviderError, HoldsTheItemThatCollides) {
  const NSFileProviderItemPtr item = sampleItem(1);
  const auto error = fileProviderErrorForCollisionWithItem(item);
  EXPECT_EQ(-1001, error->code());
  EXPECT_EQ(NSObjectPtr(item),
            std::get<NSObjectPtr>(error->userInfo().at(NSFileProviderErrorCollidingItemKey)));
  EXPECT_TRUE(fileProviderErrorForCollisionWithItem(nullptr)->userInfo().empty());
}

TEST(NSFileProviderError, KnowsWhereAWriteCollided) {
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const auto found = fp_collidingURL(NSError::errorWithDomain(
      NSCocoaErrorDomain, NSFileWriteFileExistsError, {{NSURLErrorKey, NSObjectPtr(url)}}));
  ASSERT_NE(nullptr, found);
  EXPECT_TRUE(found->isEqual(*url));
}

TEST(NSFileProviderError, DoesNotGuessWhereAWriteCollided) {
  EXPECT_EQ(nullptr, fp_collidingURL(NSError::errorWithDomain(NSCocoaErrorDomain, 516)));
  EXPECT_EQ(nullptr, fp_collidingURL(NSError::errorWithDomain(
                         NSCocoaErrorDomain, 516, {{NSURLErrorKey, std::string("/tree/a")}})));
  EXPECT_EQ(nullptr, fp_collidingURL(NSError::errorWithDomain(
                         NSCocoaErrorDomain, 516, {{NSURLErrorKey, NSObjectPtr(sampleItem(1))}})));
}

}  // namespace
}  // namespace tessera
