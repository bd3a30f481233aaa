#include "home/InstanceLock.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessera {
namespace {

std::string lockFile() {
  std::string folder = ::testing::TempDir() + "tessera-lock-XXXXXX";
  EXPECT_NE(::mkdtemp(folder.data()), nullptr);
  return folder + "/a.lock";
}

TEST(InstanceLock, IsHeldByOneAtATimeAndTellsItsHolder) {
  const std::string file = lockFile();
  EXPECT_FALSE(InstanceLock::holder(file).has_value());
  {
    const auto lock = InstanceLock::tryAcquire(file);
    ASSERT_TRUE(lock.has_value());
    EXPECT_FALSE(InstanceLock::tryAcquire(file).has_value());
    EXPECT_EQ(InstanceLock::holder(file), ::getpid());
  }
  EXPECT_FALSE(InstanceLock::holder(file).has_value());
  EXPECT_TRUE(InstanceLock::tryAcquire(file).has_value());
}

TEST(InstanceLock, IsFreeAgainOnceItsHolderWasKilled) {
  const std::string file = lockFile();
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const auto lock = InstanceLock::tryAcquire(file);
    if (!lock || ::write(ready[1], "x", 1) != 1) ::_exit(1);
    for (;;) ::pause();
  }
  char byte = 0;
  ASSERT_EQ(::read(ready[0], &byte, 1), 1);
  EXPECT_EQ(InstanceLock::holder(file), child);
  EXPECT_FALSE(InstanceLock::tryAcquire(file).has_value());
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(InstanceLock::tryAcquire(file).has_value());
}

}  // namespace
}  // namespace tessera
