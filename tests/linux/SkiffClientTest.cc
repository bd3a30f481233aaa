#include "linux/SkiffClient.h"

#include <string>
#include <thread>
#include <vector>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "linux/SkiffFailure.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"
#include "tests/linux/LibraryTest.h"

namespace tessera {
namespace {

constexpr auto kPathOf = [](auto context) -> kj::Promise<void> {
  context.getResults().setPath("/tree/" + textOf(context.getParams().getFileObjectId()));
  return kj::READY_NOW;
};
constexpr auto kNever = [](auto) -> kj::Promise<void> { return kj::NEVER_DONE; };

auto pathOf(std::string identifier) {
  return [identifier = std::move(identifier)](SkiffSession& session) {
    auto request = session.skiff().documentPathRequest();
    request.setFileObjectId(identifier);
    return request.send().then([](auto&& results) { return textOf(results.getPath()); });
  };
}

void expectNotResponding(const Outcome<std::string>& outcome, const char* text) {
  ASSERT_FALSE(outcome.ok());
  const auto error = skiffError(outcome.failure());
  EXPECT_EQ(error->domain(), GVTesseraErrorDomain);
  EXPECT_EQ(error->code(), GVTesseraErrorDaemonNotResponding);
  EXPECT_EQ(error->localizedDescription(), text);
}

constexpr const char* kLost = "The connection to the sync daemon (skiff) was lost. Try again.";

class SkiffClientTest : public LibraryTest {};

TEST_F(SkiffClientTest, ConnectsWithTheFirstCallAndKeepsTheConnection) {
  startDaemon({.documentPath = kPathOf});
  makeClient();
  EXPECT_EQ(daemon->connections(), 0U);
  for (const char* name : {"a", "b", "c"}) {
    const auto outcome = skiff->callBlocking<std::string>(pathOf(name));
    ASSERT_TRUE(outcome.ok());
    EXPECT_EQ(outcome.value(), std::string("/tree/") + name);
  }
  EXPECT_EQ(daemon->connections(), 1U);
}

TEST_F(SkiffClientTest, SaysHowToStartADaemonThatIsNotThere) {
  makeClient(impatient());
  expectNotResponding(skiff->callBlocking<std::string>(pathOf("a")),
                      "The sync daemon (skiff) is not running. Start it with: tessera up");
  Answer<Outcome<std::string>> answer;
  skiff->callAsync<std::string>(pathOf("a"), answer.handler());
  expectNotResponding(std::get<0>(answer.wait()), kSkiffNotRunning);
  endClient();
  EXPECT_EQ(answer.count(), 1U);
}

TEST_F(SkiffClientTest, WaitsForADaemonThatIsBeingStartedAndConnectsOnceForAll) {
  makeClient();
  constexpr unsigned kCalls = 200;
  Answer<Outcome<std::string>> answer;
  for (unsigned i = 0; i < kCalls; ++i) {
    skiff->callAsync<std::string>(pathOf(std::to_string(i)), answer.handler());
  }
  startDaemon({.documentPath = kPathOf});
  for (unsigned i = 1; i <= kCalls; ++i) EXPECT_TRUE(std::get<0>(answer.wait(i)).ok());
  EXPECT_EQ(daemon->connections(), 1U);
  endClient();
  EXPECT_EQ(answer.count(), kCalls);
}

TEST_F(SkiffClientTest, FailsTheCallsInFlightWhenTheDaemonDies) {
  Answer<> arrived;
  startDaemon({.documentPath = [&](auto) -> kj::Promise<void> {
    arrived.handler()();
    return kj::NEVER_DONE;
  }});
  makeClient();
  constexpr unsigned kCalls = 50;
  Answer<Outcome<std::string>> answer;
  for (unsigned i = 0; i < kCalls; ++i) {
    skiff->callAsync<std::string>(pathOf("a"), answer.handler());
  }
  arrived.wait(kCalls);
  daemon.reset();
  for (unsigned i = 1; i <= kCalls; ++i) expectNotResponding(std::get<0>(answer.wait(i)), kLost);
  endClient();
  EXPECT_EQ(answer.count(), kCalls);
}

TEST_F(SkiffClientTest, ConnectsAgainAfterARestart) {
  makeClient();
  for (unsigned life = 0; life < 5; ++life) {
    startDaemon({.documentPath = kPathOf});
    // The loss of the one before is noticed soon; a call that got in before that fails with it.
    Outcome<std::string> outcome = skiff->callBlocking<std::string>(pathOf("x"));
    while (!outcome.ok()) {
      expectNotResponding(outcome, kLost);
      outcome = skiff->callBlocking<std::string>(pathOf("x"));
    }
    EXPECT_EQ(outcome.value(), "/tree/x");
    EXPECT_EQ(daemon->connections(), 1U);
    daemon.reset();
  }
}

TEST_F(SkiffClientTest, FailsEveryCallOnceClosed) {
  Answer<> arrived;
  startDaemon({.documentPath = [&](auto) -> kj::Promise<void> {
    arrived.handler()();
    return kj::NEVER_DONE;
  }});
  makeClient();
  Answer<Outcome<std::string>> answer;
  skiff->callAsync<std::string>(pathOf("a"), answer.handler());
  arrived.wait();
  skiff->close();
  EXPECT_FALSE(std::get<0>(answer.wait()).ok());
  expectNotResponding(skiff->callBlocking<std::string>(pathOf("b")), kSkiffNotRunning);
  EXPECT_EQ(daemon->connections(), 1U);
}

TEST_F(SkiffClientTest, EndsACallThatIsNotAnsweredInTime) {
  startDaemon({.documentPath = kNever});
  SkiffPatience patience;
  patience.blockingCall = std::chrono::milliseconds(1);
  makeClient(patience);
  expectNotResponding(skiff->callBlocking<std::string>(pathOf("a")),
                      "The sync daemon (skiff) did not answer in time. Try again.");
}

TEST_F(SkiffClientTest, TellsAFailureOfTheDaemonFromItsAbsence) {
  startDaemon({.documentPath = [](auto) -> kj::Promise<void> {
    return KJ_EXCEPTION(FAILED, "disk on fire");
  }});
  makeClient();
  const auto outcome = skiff->callBlocking<std::string>(pathOf("a"));
  ASSERT_FALSE(outcome.ok());
  const auto error = skiffError(outcome.failure());
  EXPECT_EQ(error->code(), GVTesseraErrorUnknown);
  EXPECT_NE(error->localizedDescription().find("disk on fire"), std::string::npos);
}

TEST_F(SkiffClientTest, AnswersManyThreadsEachItsOwn) {
  startDaemon({.documentPath = kPathOf});
  makeClient();
  std::vector<std::thread> threads;
  std::atomic<int> right{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        const std::string name = std::to_string(t) + "-" + std::to_string(i);
        const auto outcome = skiff->callBlocking<std::string>(pathOf(name));
        if (outcome.ok() && outcome.value() == "/tree/" + name) ++right;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, 8 * 200);
  EXPECT_EQ(daemon->connections(), 1U);
}

// A daemon in a process of its own. It must be forked before this one has threads.
class ForkedDaemon {
 public:
  ForkedDaemon(const Home& home, const SkiffBehaviour& behaviour) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    _pid = ::fork();
    if (_pid == 0) {
      const FakeSkiff skiff(home, behaviour);
      [[maybe_unused]] const ssize_t written = ::write(ends[1], "r", 1);
      for (;;) ::pause();
    }
    char ready = 0;
    EXPECT_EQ(::read(ends[0], &ready, 1), 1);
    ::close(ends[0]);
    ::close(ends[1]);
  }
  ~ForkedDaemon() {
    ::kill(_pid, SIGKILL);
    ::waitpid(_pid, nullptr, 0);
  }
  void stop() const {
    ::kill(_pid, SIGSTOP);
    int status = 0;
    ::waitpid(_pid, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status));
  }
  void goOn() const { ::kill(_pid, SIGCONT); }
  void kill() const { ::kill(_pid, SIGKILL); }

 private:
  pid_t _pid = -1;
};

SkiffPatience quick() {
  SkiffPatience patience;
  patience.betweenPings = std::chrono::milliseconds(20);
  patience.pingAnswer = std::chrono::milliseconds(200);
  return patience;
}

TEST_F(SkiffClientTest, FailsCallsToAStoppedDaemonAndConnectsAgainWhenItGoesOn) {
  const ForkedDaemon forked(scratch.home, {.documentPath = kPathOf});
  makeClient(quick());
  ASSERT_TRUE(skiff->callBlocking<std::string>(pathOf("a")).ok());
  forked.stop();
  Answer<Outcome<std::string>> answer;
  skiff->callAsyncUnlimited<std::string>(pathOf("b"), answer.handler());
  expectNotResponding(std::get<0>(answer.wait()), kLost);
  // A new connection is taken by the kernel even while nobody accepts it.
  skiff->callAsyncUnlimited<std::string>(pathOf("c"), answer.handler());
  expectNotResponding(std::get<0>(answer.wait(2)), kLost);
  forked.goOn();
  EXPECT_TRUE(skiff->callBlocking<std::string>(pathOf("d")).ok());
  endClient();
  EXPECT_EQ(answer.count(), 2U);
}

TEST_F(SkiffClientTest, FailsCallsToAKilledDaemonAtOnce) {
  const ForkedDaemon forked(scratch.home, {.documentPath = kNever, .download = kNever});
  makeClient();
  Answer<Outcome<std::string>> answer;
  skiff->callAsyncUnlimited<std::string>(pathOf("a"), answer.handler());
  ASSERT_TRUE(skiff
                  ->callBlocking<bool>([](SkiffSession& session) {
                    return session.skiff().pingRequest().send().then([](auto&&) { return true; });
                  })
                  .ok());
  forked.kill();
  expectNotResponding(std::get<0>(answer.wait()), kLost);
}

}  // namespace
}  // namespace tessera
