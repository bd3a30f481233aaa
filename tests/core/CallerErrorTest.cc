#include "core/CallerError.h"

#include <gtest/gtest.h>

#include "platform/tessera/GVLog.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

TEST(CallerError, IsPassedToACallerWhoAsks) {
  const CapturingLogBackend log(gvc_default_log());
  const auto made = NSError::errorWithDomain("domain", 7);
  NSErrorPtr error;
  gv_handErrorToCaller("-[Class method]", made, &error);
  EXPECT_EQ(made, error);
  EXPECT_EQ((LogLines{errorLine("-[Class method]: (passed to caller) error: " + described(made))}),
            log.lines());
}

TEST(CallerError, IsLoggedWhenTheCallerIgnoresIt) {
  const CapturingLogBackend log(gvc_default_log());
  const auto made = NSError::errorWithDomain("domain", 7);
  gv_handErrorToCaller("-[Class method]", made, nullptr);
  EXPECT_EQ((LogLines{errorLine("-[Class method]: (ignored by caller) error: " + described(made))}),
            log.lines());
}

TEST(CallerError, IsNotLoggedWhenThereIsNone) {
  const CapturingLogBackend log(gvc_default_log());
  NSErrorPtr error = NSError::errorWithDomain("domain", 7);
  gv_handErrorToCaller("-[Class method]", nullptr, &error);
  EXPECT_EQ(nullptr, error);
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace
}  // namespace tessera
