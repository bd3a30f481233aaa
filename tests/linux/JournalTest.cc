#include "linux/Journal.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessera {
namespace {

TEST(Journal, IsBehindAStreamThatTheServiceManagerNamed) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  struct stat status {};
  ASSERT_EQ(::fstat(ends[1], &status), 0);
  const std::string named = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  EXPECT_TRUE(Journal::isBehind(ends[1], named));
  EXPECT_FALSE(Journal::isBehind(ends[1], "8:1"));
  EXPECT_FALSE(Journal::isBehind(ends[1], std::nullopt));
  EXPECT_FALSE(Journal::isBehind(-1, named));
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(Journal, SendsTheTextItsPriorityAndTheHome) {
  const Journal journal("/homes/one");
  const auto fields = journal.fields("tessera.client", LogType::Fault, "[CRIT] x\ny");
  const auto has = [&](const char* field) {
    return std::find(fields.begin(), fields.end(), field) != fields.end();
  };
  EXPECT_TRUE(has("MESSAGE=[CRIT] x\ny"));
  EXPECT_TRUE(has("PRIORITY=2"));
  EXPECT_TRUE(has("TESSERA_SUBSYSTEM=tessera.client"));
  EXPECT_TRUE(has("TESSERA_HOME=/homes/one"));
  EXPECT_EQ(journal.fields("s", LogType::Error, "")[1], "PRIORITY=3");
  EXPECT_EQ(journal.fields("s", LogType::Default, "")[1], "PRIORITY=5");
  EXPECT_EQ(journal.fields("s", LogType::Info, "")[1], "PRIORITY=6");
  EXPECT_EQ(journal.fields("s", LogType::Debug, "")[1], "PRIORITY=7");
}

}  // namespace
}  // namespace tessera
