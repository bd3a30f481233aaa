#include "skiff/store/ItemID.h"

#include <gtest/gtest.h>

#include "skiff/store/PromiseName.h"

namespace tessera {
namespace {

TEST(ItemID, TextIsReversible) {
  for (int count = 0; count < 100; ++count) {
    ItemID made = ItemID::random();
    EXPECT_EQ(ItemID::fromString(made.toString()), made);
  }
}

TEST(ItemID, TakesNoOtherText) {
  EXPECT_TRUE(ItemID::fromString("01234567-89ab-cdef-0123-456789abcdef"));
  for (const char* text :
       {"", "01234567-89AB-cdef-0123-456789abcdef", "01234567-89ab-cdef-0123-456789abcde",
        "01234567-89ab-cdef-0123-456789abcdef0", "0123456789ab-cdef-0123-456789abcdef-",
        "{1234567-89ab-cdef-0123-456789abcdef", "NSFileProviderRootContainerItemIdentifier"}) {
    EXPECT_FALSE(ItemID::fromString(text)) << text;
  }
}

TEST(ItemID, DerivedIsTheSameForTheSameSeedAndAVersion8) {
  EXPECT_EQ(ItemID::derived("a"), ItemID::derived("a"));
  EXPECT_NE(ItemID::derived("a"), ItemID::derived("b"));
  std::string text = ItemID::derived("a").toString();
  EXPECT_EQ(text[14], '8');
  EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);
}

TEST(PromiseName, IsReversibleAndTakesNothingElse) {
  ItemID made = ItemID::random();
  EXPECT_EQ(itemOfPromise(promiseName(made)), made);
  EXPECT_FALSE(itemOfPromise(".tessera-.promise"));
  EXPECT_FALSE(itemOfPromise(".tessera-promise"));
  EXPECT_FALSE(itemOfPromise(promiseName(made) + "x"));
  EXPECT_FALSE(itemOfPromise(made.toString()));
}

}  // namespace
}  // namespace tessera
