#include "core/FailedAssertion.h"

#include <gtest/gtest.h>

#include "platform/tessera/GVLog.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

TEST(FailedAssertion, IsLoggedAtFaultLevelAndGoesOn) {
  const CapturingLogBackend log(gvc_default_log());
  gv_assert(false, "a < b");
  EXPECT_EQ((LogLines{failedAssertion("a < b")}), log.lines());
  EXPECT_EQ("[CRIT] Assertion failed: a < b", log.texts().at(0));
}

TEST(FailedAssertion, IsNotLoggedWhenTheConditionHolds) {
  const CapturingLogBackend log(gvc_default_log());
  gv_assert(true, "a < b");
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace tessera
