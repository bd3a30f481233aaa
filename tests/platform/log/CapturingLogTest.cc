#include "tests/support/log/CapturingLog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tessera {
namespace {

TEST(CapturingLog, KeepsLinesInOrder) {
  Log log("test");
  const CapturingLogBackend captured(log);
  log.debug("first");
  log.error("second");
  log.debug("third");
  EXPECT_EQ(captured.texts(), (std::vector<std::string>{"first", "second", "third"}));
  EXPECT_EQ(captured.texts(LogType::Debug), (std::vector<std::string>{"first", "third"}));
  EXPECT_EQ(captured.lines().at(1), (CapturingLogBackend::Line{LogType::Error, "second"}));
}

TEST(CapturingLog, ForgetsWhenAsked) {
  Log log("test");
  CapturingLogBackend captured(log);
  log.debug("before");
  captured.clear();
  log.debug("after");
  EXPECT_EQ(captured.texts(), (std::vector<std::string>{"after"}));
}

TEST(CapturingLog, DetachesAtItsEnd) {
  Log log("test");
  {
    const CapturingLogBackend captured(log);
    EXPECT_TRUE(log.isEnabled(LogType::Debug));
  }
  EXPECT_FALSE(log.isEnabled(LogType::Debug));
  EXPECT_FALSE(log.isEnabled(LogType::Fault));
}

}  // namespace
}  // namespace tessera
