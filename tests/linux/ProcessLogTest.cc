#include "linux/ProcessLog.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "platform/tessera/GVLog.h"
#include "tests/linux/ScratchHome.h"

namespace tessera {
namespace {

std::string logOf(const Home& home) {
  std::ifstream input(home.extensionLog());
  return {std::istreambuf_iterator<char>(input), {}};
}

TEST(ProcessLog, WritesTheTypesOfTheLevelToTheHomesLogFileWhileItLives) {
  const ScratchHome scratch;
  ::unsetenv("JOURNAL_STREAM");
  ::setenv("TESSERA_LOG_LEVEL", "info", 1);
  {
    const ProcessLog log(scratch.home);
    gvc_default_log().debug("[DEBUG] not wanted");
    gvc_default_log().info("[INFO] wanted %d", 7);
  }
  gvc_default_log().error("[ERROR] too late");
  const std::string text = logOf(scratch.home);
  EXPECT_TRUE(text.ends_with(" info tessera.client [INFO] wanted 7\n")) << text;
  EXPECT_EQ(text.find('\n'), text.size() - 1);
}

TEST(ProcessLog, WritesEverythingUnlessToldOtherwiseAndNothingWhenOff) {
  const ScratchHome scratch;
  ::unsetenv("JOURNAL_STREAM");
  ::setenv("TESSERA_LOG_LEVEL", "off", 1);
  {
    const ProcessLog log(scratch.home);
    gvc_default_log().fault("[CRIT] off");
  }
  EXPECT_EQ(logOf(scratch.home), "");
  ::unsetenv("TESSERA_LOG_LEVEL");
  const ProcessLog log(scratch.home);
  gvc_default_log().debug("[DEBUG] on");
  EXPECT_TRUE(logOf(scratch.home).ends_with(" debug tessera.client [DEBUG] on\n"));
}

}  // namespace
}  // namespace tessera
