#include "rpc/LivenessGuard.h"

#include <csignal>
#include <utility>

#include <gtest/gtest.h>
#include <kj/debug.h>

#include "ProbeClient.h"
#include "ProbeServer.h"

namespace tessera {
namespace {

constexpr auto kInterval = 10 * kj::SECONDS;
constexpr auto kPatience = 3 * kj::SECONDS;

// A connection within one thread, and a clock that stands still until it is moved.
struct Fixture {
  Fixture()
      : io(kj::setupAsyncIo()),
        clock(kj::origin<kj::TimePoint>()),
        server(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.near),
               RpcConnection::Side::Server, probe::Probe::Client(kj::heap<ProbeServer>())),
        client(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.far),
               RpcConnection::Side::Client),
        guard(client, clock, kInterval, kPatience, [this] {
          ++pings;
          return peerHangs ? kj::Promise<void>(kj::NEVER_DONE) : answer();
        }) {}

  kj::Promise<void> answer() {
    return client.bootstrapAs<probe::Probe>().pingRequest().send().ignoreResult();
  }
  kj::Promise<void> hang() {
    return client.bootstrapAs<probe::Probe>().hangRequest().send().ignoreResult();
  }
  void pass(kj::Duration time) {
    clock.advanceTo(clock.now() + time);
    io.waitScope.poll();
  }

  SocketPair sockets;
  kj::AsyncIoContext io;
  kj::TimerImpl clock;
  int pings = 0;
  bool peerHangs = false;
  RpcConnection server;
  RpcConnection client;
  LivenessGuard guard;
};

TEST(LivenessGuard, PingsAtEveryIntervalWhileACallIsInFlight) {
  Fixture f;
  auto call = f.guard.watch(f.hang());
  f.pass(kInterval - 1 * kj::SECONDS);
  EXPECT_EQ(f.pings, 0);
  f.pass(1 * kj::SECONDS);
  EXPECT_EQ(f.pings, 1);
  f.pass(kInterval);
  EXPECT_EQ(f.pings, 2);
  EXPECT_TRUE(f.client.isOpen());
  EXPECT_EQ(f.guard.callsInFlight(), 1u);
}

TEST(LivenessGuard, LeavesAConnectionWithoutCallsAlone) {
  Fixture f;
  f.pass(10 * kInterval);
  f.guard.watch(f.answer()).wait(f.io.waitScope);
  EXPECT_EQ(f.guard.callsInFlight(), 0u);
  f.pass(kInterval);
  f.pass(kInterval);
  EXPECT_EQ(f.pings, 0);
}

TEST(LivenessGuard, WatchesAgainAfterAQuietTime) {
  Fixture f;
  f.guard.watch(f.answer()).wait(f.io.waitScope);
  f.pass(kInterval);
  auto call = f.guard.watch(f.hang());
  f.pass(kInterval);
  EXPECT_EQ(f.pings, 1);
}

TEST(LivenessGuard, ClosesTheConnectionWhenAPingIsNotAnswered) {
  Fixture f;
  auto call = f.guard.watch(f.hang()).catch_([](kj::Exception&& failure) {
    EXPECT_EQ(failure.getType(), kj::Exception::Type::DISCONNECTED);
  });
  f.peerHangs = true;
  f.pass(kInterval);
  f.pass(kPatience - 1 * kj::SECONDS);
  EXPECT_TRUE(f.client.isOpen());
  f.pass(1 * kj::SECONDS);
  EXPECT_FALSE(f.client.isOpen());
  call.wait(f.io.waitScope);
  EXPECT_EQ(f.guard.callsInFlight(), 0u);
}

TEST(LivenessGuard, TakesAFailedPingForAnAnswer) {
  Fixture f;
  LivenessGuard guard(f.client, f.clock, kInterval, kPatience, [&f] {
    ++f.pings;
    return f.client.bootstrapAs<probe::Probe>().unknownRequest().send().ignoreResult();
  });
  auto call = guard.watch(f.hang());
  f.pass(kInterval);
  f.pass(kPatience);
  EXPECT_TRUE(f.client.isOpen());
  f.pass(kInterval);
  EXPECT_EQ(f.pings, 2);
}

TEST(LivenessGuard, DoesNotCloseForAPingWhenTheCallsHaveEnded) {
  Fixture f;
  auto call = f.guard.watch(f.hang());
  f.peerHangs = true;
  f.pass(kInterval);
  EXPECT_EQ(f.pings, 1);
  call = nullptr;
  f.pass(kPatience);
  EXPECT_TRUE(f.client.isOpen());
}

TEST(LivenessGuard, MayGoBeforeTheCallsItWatches) {
  Fixture f;
  auto guard =
      kj::heap<LivenessGuard>(f.client, f.clock, kInterval, kPatience, [&f] { return f.answer(); });
  auto call = guard->watch(f.answer());
  guard = nullptr;
  call.wait(f.io.waitScope);
}

TEST(LivenessGuard, ReleasesTheCallersOfAProcessThatWasStopped) {
  ServerProcess server;
  EventLoop loop;
  ProbeClient client(loop, server.takeSocket());
  LoopBound<kj::Own<LivenessGuard>> guard;
  ASSERT_TRUE(callBlocking<void>(loop, [&]() -> kj::Promise<void> {
                auto& connection = *client.connection().get();
                auto ping = [probe = client.probe().get()]() mutable {
                  return probe.pingRequest().send().ignoreResult();
                };
                guard = LoopBound<kj::Own<LivenessGuard>>(
                    loop, kj::heap<LivenessGuard>(connection, loop.timer(), 5 * kj::MILLISECONDS,
                                                  100 * kj::MILLISECONDS, kj::mv(ping)));
                return kj::READY_NOW;
              }).ok());
  server.signal(SIGSTOP);
  const auto released = callBlocking<void>(loop, [guard, hang = client.hanging()] {
    return guard.get()->watch(kj::Promise<void>(hang()));
  });
  ASSERT_FALSE(released.ok());
  EXPECT_EQ(released.failure().kind, RpcFailure::Kind::Disconnected);
}

}  // namespace
}  // namespace tessera
