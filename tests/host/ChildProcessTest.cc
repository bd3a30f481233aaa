#include "host/ChildProcess.h"

#include <csignal>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "HostFixture.h"

namespace tessera {
namespace {

struct Shell : LoopFixture {
  std::vector<std::string> lines;

  std::unique_ptr<ChildProcess> run(const std::string& script, int inherited = -1,
                                    std::vector<std::string> environment = {}) {
    return std::make_unique<ChildProcess>(
        loop.port, ChildCommand{"/bin/sh", {"-c", script}, std::move(environment), inherited},
        [this](const std::string& line) { lines.push_back(line); });
  }
  ChildEnd end(ChildProcess& child) {
    child.whenEnded().wait(io.waitScope);
    return *child.end();
  }
};

TEST(ChildProcess, TellsTheExitStatusAndTheSignal) {
  Shell shell;
  auto exits = shell.run("exit 5");
  EXPECT_TRUE(shell.end(*exits).exitedWith(5));
  EXPECT_EQ(exits->end()->describe(), "exit status 5");
  auto killed = shell.run("kill -9 $$");
  EXPECT_FALSE(shell.end(*killed).exited);
  EXPECT_EQ(killed->end()->describe(), "signal 9 (Killed)");
}

TEST(ChildProcess, HandsOverTheLinesItWritesAndKeepsTheLast) {
  Shell shell;
  auto child = shell.run("echo one; echo two >&2; printf three");
  shell.end(*child);
  EXPECT_EQ(shell.lines, (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_EQ(child->lastLine(), "three");
}

TEST(ChildProcess, EndsThoughAnotherProcessHoldsItsOutput) {
  Shell shell;
  auto child = shell.run("sleep 600 & echo $!");
  EXPECT_TRUE(shell.end(*child).exitedWith(0));
  ::kill(std::stoi(child->lastLine()), SIGKILL);
}

TEST(ChildProcess, GivesOneDescriptorAndNoOther) {
  Shell shell;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);  // not even ones that would be passed on
  const kj::AutoCloseFd near(ends[0]);
  const kj::AutoCloseFd far(ends[1]);
  auto child =
      shell.run("echo given >&3; for fd in /proc/self/fd/*; do echo ${fd##*/}; done", far.get());
  shell.end(*child);
  char text[6] = {};
  ASSERT_EQ(::read(near.get(), text, 6), 6);
  EXPECT_EQ(std::string(text, 6), "given\n");
  // The shell itself opens the folder that it lists.
  for (const auto& line : shell.lines) EXPECT_LE(std::stoi(line), 4) << line;
}

TEST(ChildProcess, AddsToTheEnvironmentInPlaceOfWhatWasThere) {
  ::setenv("GIVEN", "old", 1);
  ::setenv("KEPT", "kept", 1);
  Shell shell;
  auto child = shell.run("echo $GIVEN $KEPT; env | grep -c ^GIVEN=", -1, {"GIVEN=new"});
  shell.end(*child);
  EXPECT_EQ(shell.lines, (std::vector<std::string>{"new kept", "1"}));
}

TEST(ChildProcess, LeavesNoSignalIgnoredOrBlocked) {
  std::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGUSR2);
  ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
  Shell shell;
  auto child = shell.run("grep -E 'SigBlk|SigIgn' /proc/self/status");
  shell.end(*child);
  ASSERT_EQ(shell.lines.size(), 2U);
  // The C library keeps the two signals after the 31 common ones for itself.
  for (const auto& line : shell.lines) {
    EXPECT_EQ(std::stoull(line.substr(7), nullptr, 16) & 0x7fffffffU, 0U) << line;
  }
}

TEST(ChildProcess, KillsWhatDoesNotEndInTime) {
  Shell shell;
  auto deaf = shell.run("trap '' TERM; echo ready; while :; do sleep 600; done");
  while (shell.lines.empty()) {
    shell.loop.timer.afterDelay(kj::MILLISECONDS).wait(shell.io.waitScope);
  }
  deaf->signal(SIGTERM);
  deaf->endWithin(shell.loop.timer, 20 * kj::MILLISECONDS).wait(shell.io.waitScope);
  EXPECT_EQ(deaf->end()->number, SIGKILL);
}

TEST(ChildProcess, IsGoneWhenItsHolderIs) {
  Shell shell;
  pid_t pid = 0;
  {
    auto child = shell.run("while :; do sleep 600; done");
    pid = child->pid();
    EXPECT_EQ(::kill(pid, 0), 0);
  }
  EXPECT_EQ(::kill(pid, 0), -1);
}

TEST(ChildProcess, SaysThatAProgramIsMissing) {
  Shell shell;
  try {
    const ChildProcess child(shell.loop.port, {"/no/such/program", {}, {}, -1}, nullptr);
    FAIL() << "started";
  } catch (const std::system_error& failure) {
    EXPECT_EQ(failure.code().value(), ENOENT);
    EXPECT_NE(std::string(failure.what()).find("/no/such/program"), std::string::npos);
  }
}

}  // namespace
}  // namespace tessera
