#include "host/SkiffSupervisor.h"

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HostFixture.h"
#include "home/InstanceLock.h"

namespace tessera {
namespace {

struct SkiffFixture : LoopFixture {
  explicit SkiffFixture(SkiffOptions options = {FAKES_FOLDER "/skiff"})
      : skiff(loop, home, std::move(options)) {}

  template <class Condition>
  void waitUntil(Condition condition) {
    while (!condition()) loop.timer.afterDelay(kj::MILLISECONDS).wait(io.waitScope);
  }

  SkiffSupervisor skiff;
};

TEST(SkiffSupervisor, StartsTheDaemonAndEndsIt) {
  SkiffFixture fixture;
  fixture.waitUntil([&] { return fixture.skiff.pid() != 0; });
  const pid_t pid = fixture.skiff.pid();
  EXPECT_EQ(::kill(pid, 0), 0);
  EXPECT_EQ(fixture.skiff.message(), "");
  fixture.skiff.stop().wait(fixture.io.waitScope);
  EXPECT_EQ(fixture.skiff.pid(), 0);
  EXPECT_NE(::kill(pid, 0), 0);
}

TEST(SkiffSupervisor, StartsAKilledDaemonAgain) {
  SkiffFixture fixture;
  fixture.waitUntil([&] { return fixture.skiff.pid() != 0; });
  const pid_t first = fixture.skiff.pid();
  ::kill(first, SIGKILL);
  fixture.waitUntil([&] { return fixture.skiff.starts() == 2; });
  EXPECT_NE(fixture.skiff.pid(), first);
  EXPECT_EQ(fixture.skiff.message(), "");
  fixture.skiff.stop().wait(fixture.io.waitScope);
}

TEST(SkiffSupervisor, KeepsTheReasonOfADaemonThatCannotRunAndTriesAgain) {
  ::setenv("FAKE_SKIFF_STATUS", "1", 1);
  ::setenv("FAKE_SKIFF_MESSAGE", "the store was written by a newer version", 1);
  SkiffFixture fixture;
  fixture.waitUntil([&] { return fixture.skiff.starts() >= 2 && fixture.skiff.pid() == 0; });
  EXPECT_EQ(fixture.skiff.message(), "the store was written by a newer version");
  ::unsetenv("FAKE_SKIFF_STATUS");
  fixture.waitUntil([&] { return fixture.skiff.pid() != 0; });
  EXPECT_EQ(fixture.skiff.message(), "");
  fixture.skiff.stop().wait(fixture.io.waitScope);
}

TEST(SkiffSupervisor, SaysThatTheProgramIsMissing) {
  SkiffFixture fixture({"/no/such/skiff"});
  fixture.waitUntil([&] { return !fixture.skiff.message().empty(); });
  EXPECT_NE(fixture.skiff.message().find("/no/such/skiff"), std::string::npos);
  EXPECT_EQ(fixture.skiff.pid(), 0);
}

TEST(SkiffSupervisor, KillsADaemonThatDoesNotEnd) {
  ::setenv("FAKE_SKIFF_DEAF", "1", 1);
  SkiffOptions options{FAKES_FOLDER "/skiff", 10 * kj::MILLISECONDS};
  TemporaryFolder lives;
  ::setenv("FAKE_SKIFF_LIVES_FILE", (lives.path() / "lives").c_str(), 1);
  SkiffFixture fixture(options);
  fixture.waitUntil([&] { return contentOf(lives.path() / "lives") == "x"; });
  fixture.skiff.stop().wait(fixture.io.waitScope);
  EXPECT_EQ(fixture.skiff.pid(), 0);
}

// A process that holds the home's daemon lock until it is told to end.
pid_t startHolder(const Home& home, int untilClosed) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  const auto lock = InstanceLock::tryAcquire(home.skiffLock());
  char byte = 0;
  if (lock) (void)!::read(untilClosed, &byte, 1);
  ::_exit(0);
}

TEST(SkiffSupervisor, UsesAnotherDaemonAndReplacesItOnceItHasEnded) {
  ::setenv("FAKE_SKIFF_STATUS", "3", 1);
  TemporaryFolder folder;
  const Home home = Home::at(folder.path());
  home.create();
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const pid_t holder = startHolder(home, ends[0]);
  while (!InstanceLock::holder(home.skiffLock()).value_or(0)) {
  }
  auto io = kj::setupAsyncIo();
  HostLog log(home.log() / "log");
  HostLoop loop{*io.lowLevelProvider, io.unixEventPort, io.provider->getTimer(), log};
  SkiffSupervisor skiff(loop, home, {FAKES_FOLDER "/skiff"});
  const auto turn = [&] { loop.timer.afterDelay(kj::MILLISECONDS).wait(io.waitScope); };
  while (skiff.pid() != holder) turn();
  EXPECT_EQ(skiff.message(), "");
  EXPECT_EQ(skiff.starts(), 1U);
  ::unsetenv("FAKE_SKIFF_STATUS");
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  while (skiff.starts() < 2 || skiff.pid() == 0) turn();
  EXPECT_NE(skiff.pid(), holder);
  skiff.stop().wait(io.waitScope);
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace tessera
