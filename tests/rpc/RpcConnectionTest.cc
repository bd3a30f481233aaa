#include "rpc/RpcConnection.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kj/debug.h>
#include <sys/socket.h>
#include <unistd.h>

#include "ProbeServer.h"

namespace tessera {
namespace {

using Side = RpcConnection::Side;

// Both ends in one thread: what a program without an EventLoop has.
struct Ends {
  explicit Ends(RpcLimits limits = {})
      : io(kj::setupAsyncIo()),
        server(kj::heap<RpcConnection>(*io.lowLevelProvider, timer(), kj::mv(sockets.near),
                                       Side::Server, exported, limits)) {}

  kj::Timer& timer() { return io.provider->getTimer(); }
  kj::Own<RpcConnection> connect() {
    return kj::heap<RpcConnection>(*io.lowLevelProvider, timer(), kj::mv(sockets.far),
                                   Side::Client);
  }

  SocketPair sockets;
  kj::AsyncIoContext io;
  kj::Own<ProbeServer> owned = kj::heap<ProbeServer>();
  ProbeServer& object = *owned;
  probe::Probe::Client exported = kj::mv(owned);  // keeps the object when the connection ends
  kj::Own<RpcConnection> server;
};

kj::Exception::Type failureOf(kj::Promise<void> promise, kj::WaitScope& scope) {
  KJ_IF_MAYBE (e, kj::runCatchingExceptions([&] { promise.wait(scope); })) {
    return e->getType();
  }
  ADD_FAILURE() << "the call did not fail";
  return kj::Exception::Type::FAILED;
}

TEST(RpcConnection, CarriesCallsWithoutAnyThread) {
  Ends ends;
  auto client = ends.connect();
  auto request = client->bootstrapAs<probe::Probe>().addRequest();
  request.setLeft(1);
  request.setRight(2);
  EXPECT_EQ(request.send().wait(ends.io.waitScope).getSum(), 3);
}

TEST(RpcConnection, LetsThePeerCallObjectsOfThisSide) {
  Ends ends;
  auto client = ends.connect();
  std::vector<std::uint32_t> pushed;
  auto request = client->bootstrapAs<probe::Probe>().pushToRequest();
  request.setReceiver(kj::heap<CountingReceiver>([&](std::uint32_t n) { pushed.push_back(n); }));
  request.setNumber(7);
  request.send().wait(ends.io.waitScope);
  EXPECT_EQ(pushed, std::vector<std::uint32_t>{7});
}

TEST(RpcConnection, LetsEitherSideExportItsObject) {
  SocketPair sockets;
  auto io = kj::setupAsyncIo();
  RpcConnection server(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.near),
                       Side::Server);
  RpcConnection client(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.far),
                       Side::Client, probe::Probe::Client(kj::heap<ProbeServer>()));
  server.bootstrapAs<probe::Probe>().pingRequest().send().wait(io.waitScope);
  EXPECT_NE(failureOf(client.bootstrapAs<probe::Probe>().pingRequest().send().ignoreResult(),
                      io.waitScope),
            kj::Exception::Type::DISCONNECTED);
}

TEST(RpcConnection, PassesDescriptors) {
  Ends ends;
  auto client = ends.connect();
  auto request = client->bootstrapAs<probe::Probe>().openRequest();
  request.setText("in the file");
  auto file = request.send().wait(ends.io.waitScope).getFile();
  const int fd = KJ_ASSERT_NONNULL(file.getFd().wait(ends.io.waitScope));
  char text[32] = {};
  EXPECT_EQ(::pread(fd, text, sizeof text, 0), 11);
  EXPECT_STREQ(text, "in the file");
}

TEST(RpcConnection, TellsItsEndOnceToEveryHandlerAndToThoseThatComeLate) {
  Ends ends;
  auto client = ends.connect();
  std::string told;
  ends.server->onDisconnect([&] { told += 'a'; });
  ends.server->onDisconnect([&] {
    told += 'b';
    KJ_FAIL_REQUIRE("a handler that throws keeps nobody from being told");
  });
  ends.server->onDisconnect([&] { told += 'c'; });
  client->bootstrapAs<probe::Probe>().pingRequest().send().wait(ends.io.waitScope);
  EXPECT_TRUE(ends.server->isOpen());
  client = nullptr;
  ends.server->whenDisconnected().wait(ends.io.waitScope);
  EXPECT_EQ(told, "abc");
  EXPECT_FALSE(ends.server->isOpen());
  ends.server->onDisconnect([&] { told += 'd'; });
  EXPECT_EQ(told, "abc");
  ends.io.waitScope.poll();
  EXPECT_EQ(told, "abcd");
}

TEST(RpcConnection, NoticesAPeerThatLeavesBeforeAnyCall) {
  Ends ends;
  auto client = ends.connect();
  ends.server = nullptr;
  client->whenDisconnected().wait(ends.io.waitScope);
  EXPECT_FALSE(client->isOpen());
}

TEST(RpcConnection, FailsCallsAsDisconnectedWhenItIsClosedHere) {
  Ends ends;
  auto client = ends.connect();
  auto probe = client->bootstrapAs<probe::Probe>();
  auto hanging = probe.hangRequest().send().ignoreResult();
  probe.pingRequest().send().wait(ends.io.waitScope);
  client->close();
  client->close();
  EXPECT_FALSE(client->isOpen());
  EXPECT_EQ(failureOf(kj::mv(hanging), ends.io.waitScope), kj::Exception::Type::DISCONNECTED);
  EXPECT_EQ(failureOf(probe.pingRequest().send().ignoreResult(), ends.io.waitScope),
            kj::Exception::Type::DISCONNECTED);
  EXPECT_EQ(failureOf(client->bootstrapAs<probe::Probe>().pingRequest().send().ignoreResult(),
                      ends.io.waitScope),
            kj::Exception::Type::DISCONNECTED);
  ends.server->whenDisconnected().wait(ends.io.waitScope);
}

TEST(RpcConnection, MayBeClosedFromInsideACall) {
  Ends ends;
  auto client = ends.connect();
  ends.object.onLeave = [&] { ends.server->close(); };
  EXPECT_EQ(failureOf(client->bootstrapAs<probe::Probe>().leaveRequest().send().ignoreResult(),
                      ends.io.waitScope),
            kj::Exception::Type::DISCONNECTED);
}

TEST(RpcConnection, LeavesReferencesBrokenWhenItIsDestroyed) {
  Ends ends;
  auto client = ends.connect();
  auto probe = client->bootstrapAs<probe::Probe>();
  auto ended = client->whenDisconnected();
  auto hanging = probe.hangRequest().send().ignoreResult();
  client = nullptr;
  ended.wait(ends.io.waitScope);
  EXPECT_EQ(failureOf(kj::mv(hanging), ends.io.waitScope), kj::Exception::Type::DISCONNECTED);
  EXPECT_EQ(failureOf(probe.pingRequest().send().ignoreResult(), ends.io.waitScope),
            kj::Exception::Type::DISCONNECTED);
}

// With that much unanswered the server reads nothing any more.
struct Flooded : Ends {
  Flooded() : Ends(limits()) {
    client = connect();
    auto probe = client->bootstrapAs<probe::Probe>();
    for (int i = 0; i < 4; ++i) {
      auto request = probe.hangRequest();
      request.initBallast(8192);
      calls.push_back(request.send().ignoreResult());
    }
    io.waitScope.poll();
  }
  static RpcLimits limits() {
    RpcLimits limits;
    limits.flowWords = 512;
    limits.lastMessages = 1 * kj::MILLISECONDS;
    return limits;
  }
  kj::Own<RpcConnection> client;
  std::vector<kj::Promise<void>> calls;
};

TEST(RpcConnection, IsClosedAlsoWhileItReadsNothing) {
  Flooded ends;
  ends.server->close();
  ends.server->whenDisconnected().wait(ends.io.waitScope);
  EXPECT_EQ(failureOf(kj::mv(ends.calls[0]), ends.io.waitScope), kj::Exception::Type::DISCONNECTED);
}

TEST(RpcConnection, NoticesThatThePeerHasGoneAlsoWhileItReadsNothing) {
  Flooded ends;
  ends.calls.clear();
  ends.client = nullptr;
  ends.server->whenDisconnected().wait(ends.io.waitScope);
}

TEST(RpcConnection, EndsWhenThePeerSendsGarbage) {
  std::mt19937 random(1);
  for (int round = 0; round < 200; ++round) {
    Ends ends;
    std::vector<unsigned char> garbage(1 + random() % 4096);
    for (auto& byte : garbage) byte = static_cast<unsigned char>(random() % 256);
    // Every other time a frame that is well-formed, around nonsense.
    if (round % 2 == 0) {
      garbage.resize((garbage.size() / 8 + 2) * 8);
      const std::uint32_t head[2] = {0, static_cast<std::uint32_t>(garbage.size() / 8 - 1)};
      std::memcpy(garbage.data(), head, sizeof head);
    }
    ASSERT_EQ(::send(ends.sockets.far.get(), garbage.data(), garbage.size(), 0),
              static_cast<ssize_t>(garbage.size()));
    ::shutdown(ends.sockets.far.get(), SHUT_WR);
    ends.server->whenDisconnected().wait(ends.io.waitScope);
  }
}

TEST(RpcConnection, EndsWhenAMessageIsLargerThanAllowed) {
  Ends ends;
  const std::uint32_t head[2] = {0, (1u << 20) + 1};
  ASSERT_EQ(::send(ends.sockets.far.get(), head, sizeof head, 0),
            static_cast<ssize_t>(sizeof head));
  ends.server->whenDisconnected().wait(ends.io.waitScope);
}

using Bytes = std::vector<char>;

Bytes received(const kj::AutoCloseFd& socket) {
  Bytes bytes(16 << 20);
  const auto size = ::recv(socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  bytes.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return bytes;
}

// What a client sends that asks for 64 KiB again and again. Sent by a test, it makes a
// client that never reads.
Bytes recordedRequests(int atOnce, int late) {
  SocketPair sockets;
  auto io = kj::setupAsyncIo();
  RpcConnection client(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.near),
                       Side::Client);
  auto probe = client.bootstrapAs<probe::Probe>();
  std::vector<kj::Promise<void>> calls;
  for (int i = 0; i < atOnce + late; ++i) {
    auto request = probe.bytesRequest();
    request.setCount(64 << 10);
    request.setLate(i >= atOnce);
    calls.push_back(request.send().ignoreResult());
  }
  io.waitScope.poll();
  return received(sockets.far);
}

void expectDropOfAPeerThatDoesNotRead(const Bytes& requests, kj::Duration unreadCheck) {
  RpcLimits limits;
  limits.unreadBytes = 1 << 20;
  limits.unreadCheck = unreadCheck;
  Ends ends(limits);
  ASSERT_EQ(::send(ends.sockets.far.get(), requests.data(), requests.size(), 0),
            static_cast<ssize_t>(requests.size()));
  ends.io.waitScope.poll();
  ends.object.answerLate();
  ends.server->whenDisconnected().wait(ends.io.waitScope);
  // What was sent to it was within the limit and a bit.
  EXPECT_LT(received(ends.sockets.far).size(), 2u << 20);
}

TEST(RpcConnection, DropsAPeerThatAsksOnAndDoesNotRead) {
  expectDropOfAPeerThatDoesNotRead(recordedRequests(128, 0), 1 * kj::HOURS);
}

// The early answers have filled the socket when the late ones come: nothing is read or
// written any more that could show how much waits.
TEST(RpcConnection, DropsAPeerThatDoesNotReadLateAnswers) {
  expectDropOfAPeerThatDoesNotRead(recordedRequests(8, 120), 1 * kj::MILLISECONDS);
}

TEST(RpcConnection, KeepsAPeerThatReadsMoreThanTheLimitInTime) {
  Ends ends;
  auto client = ends.connect();
  auto probe = client->bootstrapAs<probe::Probe>();
  for (int i = 0; i < 40; ++i) {
    auto request = probe.bytesRequest();
    request.setCount(1 << 20);
    EXPECT_EQ(request.send().wait(ends.io.waitScope).getData().size(), 1u << 20);
  }
  EXPECT_TRUE(ends.server->isOpen());
  EXPECT_EQ(ends.server->unreadBytes(), 0u);
}

}  // namespace
}  // namespace tessera
