#include "rpc/RpcConnectionSet.h"

#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "ProbeServer.h"

namespace tessera {
namespace {

struct Fixture {
  Fixture() : io(kj::setupAsyncIo()), set(*io.lowLevelProvider, io.provider->getTimer()) {}

  kj::Own<RpcConnection> connect(std::shared_ptr<void> slot) {
    SocketPair sockets;
    set.add(AcceptedSocket{kj::mv(sockets.near), {}, std::move(slot)},
            probe::Probe::Client(kj::heap<ProbeServer>()));
    return kj::heap<RpcConnection>(*io.lowLevelProvider, io.provider->getTimer(),
                                   kj::mv(sockets.far), RpcConnection::Side::Client);
  }

  kj::AsyncIoContext io;
  RpcConnectionSet set;
};

TEST(RpcConnectionSet, ServesEachConnectionUntilItsPeerHasGone) {
  Fixture f;
  const auto slot = std::make_shared<int>(0);
  auto one = f.connect(slot);
  auto other = f.connect(slot);
  one->bootstrapAs<probe::Probe>().pingRequest().send().wait(f.io.waitScope);
  other->bootstrapAs<probe::Probe>().pingRequest().send().wait(f.io.waitScope);
  EXPECT_EQ(f.set.size(), 2u);
  EXPECT_EQ(slot.use_count(), 3);

  one = nullptr;
  f.io.waitScope.poll();
  EXPECT_EQ(f.set.size(), 1u);
  EXPECT_EQ(slot.use_count(), 2);
  other->bootstrapAs<probe::Probe>().pingRequest().send().wait(f.io.waitScope);
}

TEST(RpcConnectionSet, LetsAConnectionBeClosedHere) {
  Fixture f;
  SocketPair sockets;
  auto& connection = f.set.add(AcceptedSocket{kj::mv(sockets.near), {}, nullptr},
                               probe::Probe::Client(kj::heap<ProbeServer>()));
  bool told = false;
  connection.onDisconnect([&told] { told = true; });
  connection.close();
  f.io.waitScope.poll();
  EXPECT_TRUE(told);
  EXPECT_EQ(f.set.size(), 0u);
}

TEST(RpcConnectionSet, ClosesItsConnectionsWhenItGoes) {
  auto io = kj::setupAsyncIo();
  auto set = kj::heap<RpcConnectionSet>(*io.lowLevelProvider, io.provider->getTimer());
  SocketPair sockets;
  set->add(AcceptedSocket{kj::mv(sockets.near), {}, nullptr},
           probe::Probe::Client(kj::heap<ProbeServer>()));
  RpcConnection client(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(sockets.far),
                       RpcConnection::Side::Client);
  client.bootstrapAs<probe::Probe>().pingRequest().send().wait(io.waitScope);
  set = nullptr;
  client.whenDisconnected().wait(io.waitScope);
}

}  // namespace
}  // namespace tessera
