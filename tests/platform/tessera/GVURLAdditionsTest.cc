#include "platform/tessera/GVURLAdditions.h"

#include <gtest/gtest.h>

#include "tests/support/tessera/FakeClientLibrary.h"

namespace tessera {
namespace {

TEST(GVURLAdditions, AnswerNoForNil) {
  FakeClientLibrary library(std::make_shared<CallRecorder>());
  EXPECT_FALSE(gv_isInSyncedLocation(nullptr));
  EXPECT_FALSE(gv_isPromiseURL(nullptr));
  EXPECT_FALSE(gv_isExternalDocumentReference(nullptr));
  EXPECT_EQ(std::nullopt, gv_containerIDIfIsDocumentsContainerURL(nullptr));
  EXPECT_FALSE(gv_hasPhysicalProperty(nullptr));
  gv_addPhysicalProperty(nullptr);
}

TEST(GVURLAdditions, MarkOneURLObjectAsPhysical) {
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const auto other = NSURL::fileURLWithPath("/tree/a");
  gv_addPhysicalProperty(url);
  EXPECT_TRUE(gv_hasPhysicalProperty(url));
  EXPECT_FALSE(gv_hasPhysicalProperty(other));
  EXPECT_TRUE(gv_hasPhysicalProperty(url->copy()));
}

}  // namespace
}  // namespace tessera
