#include "rpc/Call.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ProbeClient.h"
#include "ProbeServer.h"

namespace tessera {
namespace {

using Kind = RpcFailure::Kind;
using namespace std::chrono_literals;

// A server in a process of its own, and a client of it.
struct Session {
  ServerProcess server;
  CallbackPool pool;
  EventLoop loop;
  ProbeClient client{loop, server.takeSocket()};
};

template <class R>
Kind kindOf(const Outcome<R>& outcome) {
  EXPECT_FALSE(outcome.ok());
  return outcome.failure().kind;
}

TEST(Call, GivesTheResult) {
  Session s;
  EXPECT_EQ(s.client.add(40, 2).value(), 42);
  EXPECT_TRUE(s.client.ping().ok());
}

TEST(Call, TellsWhatThePeerThrew) {
  Session s;
  const auto failed = callBlocking<void>(s.loop, [probe = s.client.probe()] {
    return probe.get().failRequest().send().ignoreResult();
  });
  EXPECT_EQ(kindOf(failed), Kind::Failed);
  EXPECT_NE(failed.failure().text.find("told to fail"), std::string::npos);
}

TEST(Call, TellsThatThePeerHasNoSuchMethod) {
  Session s;
  EXPECT_EQ(kindOf(callBlocking<void>(s.loop,
                                      [probe = s.client.probe()] {
                                        return probe.get().unknownRequest().send().ignoreResult();
                                      })),
            Kind::Unimplemented);
}

TEST(Call, FailsWithWhatItsOwnCodeThrows) {
  EventLoop loop;
  const auto failed =
      callBlocking<int>(loop, []() -> kj::Promise<int> { throw std::runtime_error("not sent"); });
  EXPECT_EQ(kindOf(failed), Kind::Failed);
  EXPECT_NE(failed.failure().text.find("not sent"), std::string::npos);
}

TEST(Call, KeepsWhatMakesItUntilItHasEnded) {
  EventLoop loop;
  const auto captured = std::make_shared<int>(1);
  std::promise<long> uses;
  auto call = startCall<void>(loop, [captured, &loop, &uses, raw = captured.get()] {
    return loop.timer().afterDelay(1 * kj::MILLISECONDS).then([raw] { ++*raw; });
  });
  EXPECT_TRUE(call.wait().ok());
  EXPECT_EQ(*captured, 2);
}

TEST(Call, ThousandsFromEightThreadsAllGetTheirOwnAnswer) {
  Session s;
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&s, &right, t] {
      for (int i = 0; i < 1000; ++i) {
        const auto sum = s.client.add(t * 1000, i);
        if (sum.ok() && sum.value() == t * 1000 + i) ++right;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, 8000);
}

TEST(Call, HandsEveryAsynchronousAnswerToItsHandlerOnceAndOffTheLoop) {
  constexpr int kCalls = 4000;
  std::vector<std::atomic<int>> handled(kCalls);
  std::atomic<int> wrong = 0;
  {
    Session s;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        for (int i = t; i < kCalls; i += 4) {
          callAsync<std::int64_t>(
              s.loop, s.pool,
              [probe = s.client.probe(), i] {
                auto request = probe.get().addRequest();
                request.setLeft(i);
                return request.send().then([](auto&& reply) { return reply.getSum(); });
              },
              std::nullopt,
              [&, i](Outcome<std::int64_t> sum) {
                ++handled[i];
                // At the end of the session what is left fails as disconnected.
                const bool fine =
                    sum.ok() ? sum.value() == i : sum.failure().kind == Kind::Disconnected;
                if (!fine || s.loop.queue().get() == EventLoop::currentQueue()) ++wrong;
              });
        }
      });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_TRUE(s.client.ping().ok());
  }
  for (const auto& times : handled) EXPECT_EQ(times, 1);
  EXPECT_EQ(wrong, 0);
}

TEST(Call, AHandlerMayMakeABlockingCall) {
  Session s;
  std::promise<std::int64_t> result;
  callAsync<void>(
      s.loop, s.pool,
      [probe = s.client.probe()] { return probe.get().pingRequest().send().ignoreResult(); },
      std::nullopt, [&](const Outcome<void>&) { result.set_value(s.client.add(1, 2).value()); });
  EXPECT_EQ(result.get_future().get(), 3);
}

TEST(Call, IsReleasedWhenThePeerIsKilled) {
  Session s;
  std::vector<Call<void>> hanging;
  for (int i = 0; i < 10; ++i) hanging.push_back(startCall<void>(s.loop, s.client.hanging()));
  ASSERT_TRUE(s.client.ping().ok());
  s.server.signal(SIGKILL);
  for (auto& call : hanging) EXPECT_EQ(kindOf(call.wait()), Kind::Disconnected);
  EXPECT_EQ(kindOf(s.client.ping()), Kind::Disconnected);
}

TEST(Call, IsCancelledHereAndAtThePeer) {
  Session s;
  auto call = startCall<void>(s.loop, s.client.hanging(true));
  ASSERT_TRUE(s.client.ping().ok());
  EXPECT_EQ(s.client.cancellations(), 0u);
  call.handle().cancel();
  EXPECT_EQ(kindOf(call.wait()), Kind::Cancelled);
  EXPECT_EQ(s.client.cancellations(), 1u);
}

TEST(Call, IsCancelledBeforeItHasBegun) {
  Session s;
  std::promise<void> release;
  s.loop.post([blocked = release.get_future().share()] { blocked.get(); });
  auto call = startCall<void>(s.loop, s.client.hanging());
  call.handle().cancel();
  release.set_value();
  EXPECT_EQ(kindOf(call.wait()), Kind::Cancelled);
}

TEST(Call, IsNotHurtByACancelThatComesTooLate) {
  Session s;
  auto call = startCall<void>(s.loop, [probe = s.client.probe()] {
    return probe.get().pingRequest().send().ignoreResult();
  });
  const auto handle = call.handle();
  EXPECT_TRUE(call.wait().ok());
  handle.cancel();
  CallHandle().cancel();
  EXPECT_TRUE(s.client.ping().ok());
}

TEST(Call, TellsItsHandlerThatItWasCancelled) {
  Session s;
  std::promise<Kind> kind;
  const auto handle =
      callAsync<void>(s.loop, s.pool, s.client.hanging(), std::nullopt,
                      [&](const Outcome<void>& outcome) { kind.set_value(kindOf(outcome)); });
  handle.cancel();
  EXPECT_EQ(kind.get_future().get(), Kind::Cancelled);
}

TEST(Call, EndsAtItsDeadlineHereAndAtThePeer) {
  Session s;
  const auto late = callBlocking<void>(s.loop, s.client.hanging(true), 5ms);
  EXPECT_EQ(kindOf(late), Kind::TimedOut);
  EXPECT_EQ(late.failure().text, "no answer within 5 ms");
  EXPECT_EQ(s.client.cancellations(), 1u);
  EXPECT_TRUE(s.client.ping(1h).ok());
}

TEST(Call, FailsWhenTheLoopStops) {
  ServerProcess server;
  CallbackPool pool;
  auto loop = std::make_unique<EventLoop>();
  std::atomic<int> disconnected = 0;
  std::optional<ProbeClient> client(std::in_place, *loop, server.takeSocket());
  auto call = startCall<void>(*loop, client->hanging());
  std::promise<Kind> kind;
  callAsync<void>(*loop, pool, client->hanging(), std::nullopt,
                  [&](const Outcome<void>& outcome) { kind.set_value(kindOf(outcome)); });
  std::thread waiting([&call, &disconnected] {
    if (kindOf(call.wait()) == Kind::Disconnected) ++disconnected;
  });
  auto* raw = loop.get();
  std::promise<void> blocked;
  raw->post([&blocked] { blocked.set_value(); });
  blocked.get_future().get();
  loop.reset();
  waiting.join();
  EXPECT_EQ(disconnected, 1);
  EXPECT_EQ(kind.get_future().get(), Kind::Disconnected);
}

TEST(Call, IsRefusedAsABlockingOneOnTheLoop) {
  EventLoop loop;
  std::promise<std::string> refusal;
  loop.post([&] {
    try {
      static_cast<void>(
          callBlocking<void>(loop, []() -> kj::Promise<void> { return kj::READY_NOW; }));
      refusal.set_value("");
    } catch (const kj::Exception& e) {
      refusal.set_value(e.getDescription().cStr());
    }
  });
  EXPECT_NE(refusal.get_future().get().find("would wait for itself"), std::string::npos);
}

}  // namespace
}  // namespace tessera
