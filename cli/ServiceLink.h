#pragma once

#include <memory>

#include <kj/async-io.h>

#include "rpc/LivenessGuard.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// One connected service and the guard that ends the connection when it stops answering:
// after 5 s of waiting it is pinged, and has 10 s to answer.
class ServiceLink {
 public:
  template <class Interface>
  [[nodiscard]] static std::unique_ptr<ServiceLink> open(kj::AsyncIoContext& io,
                                                         kj::AutoCloseFd socket, Interface*) {
    auto link = std::unique_ptr<ServiceLink>(new ServiceLink(io, kj::mv(socket)));
    auto client = link->_connection.template bootstrapAs<Interface>();
    link->guardWith([client]() mutable { return client.pingRequest().send().ignoreResult(); });
    return link;
  }

  template <class Interface>
  [[nodiscard]] typename Interface::Client client() {
    return _connection.bootstrapAs<Interface>();
  }
  [[nodiscard]] bool isOpen() const { return _connection.isOpen(); }

 private:
  ServiceLink(kj::AsyncIoContext& io, kj::AutoCloseFd socket)
      : _timer(io.provider->getTimer()),
        _connection(*io.lowLevelProvider, _timer, kj::mv(socket), RpcConnection::Side::Client) {}

  void guardWith(LivenessGuard::Ping ping) {
    _guard = kj::heap<LivenessGuard>(_connection, _timer, 5 * kj::SECONDS, 10 * kj::SECONDS,
                                     kj::mv(ping));
    // The command waits for something as long as the link exists.
    _watched = _guard->watch(_connection.whenDisconnected()).eagerlyEvaluate(nullptr);
  }

  kj::Timer& _timer;
  RpcConnection _connection;
  kj::Own<LivenessGuard> _guard;
  kj::Promise<void> _watched = nullptr;
};

}  // namespace tessera
