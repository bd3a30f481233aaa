#include "host/HostLog.h"

#include <regex>

#include <gtest/gtest.h>
#include <unistd.h>

#include "HostFixture.h"

namespace tessera {
namespace {

TEST(HostLog, WritesOneLineAMessageWithTimeAndPid) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "log";
  HostLog log(file);
  log.write("first");
  log.write("two\nlines\x1b[31m");
  const std::string pid = std::to_string(::getpid());
  const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}Z ";
  EXPECT_TRUE(std::regex_match(contentOf(file), std::regex(time + pid + " first\n" + time + pid +
                                                           " two\\\\x0alines\\\\x1b\\[31m\n")))
      << contentOf(file);
}

TEST(HostLog, StartsANewFileWhenTheOldOneIsFull) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "log";
  HostLog log(file, false, 100);
  for (int i = 0; i < 5; ++i) log.write(std::string(80, static_cast<char>('a' + i)));
  EXPECT_NE(contentOf(file).find("eeee"), std::string::npos);
  EXPECT_EQ(contentOf(file).find("dddd"), std::string::npos);
  EXPECT_NE(contentOf(folder.path() / "log.1").find("dddd"), std::string::npos);
}

TEST(HostLog, GoesOnInANewFileWhenSomebodyRemovedTheOldOne) {
  const TemporaryFolder folder;
  const auto file = folder.path() / "log";
  HostLog log(file);
  log.write("before");
  std::filesystem::remove(file);
  log.write("after");
  EXPECT_NE(contentOf(file).find("after"), std::string::npos);
}

}  // namespace
}  // namespace tessera
