#include "platform/tessera/GVErrors.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace tessera {
namespace {

TEST(GVErrors, SayThatNobodyIsSignedIn) {
  const auto error = gvc_errorLoggedOut();
  EXPECT_EQ(GVTesseraErrorDomain, error->domain());
  EXPECT_EQ(2, error->code());
  EXPECT_FALSE(error->localizedDescription().empty());
}

TEST(GVErrors, CarryAPOSIXCodeAndItsDescription) {
  const auto error = gv_errorWithPOSIXCode(ENOENT, "there is none");
  EXPECT_EQ(NSPOSIXErrorDomain, error->domain());
  EXPECT_EQ(ENOENT, error->code());
  EXPECT_EQ("there is none", error->localizedDescription());
}

}  // namespace
}  // namespace tessera
