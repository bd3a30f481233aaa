#pragma once

#include <functional>
#include <string>

#include "protocol/extension.capnp.h"
#include "rpc/Call.h"
#include "rpc/LoopBound.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// The host's end of an extension's socket.
//
// Threads: any; a loop of its own.
class FakeHost {
 public:
  using Extension = wire::FileProviderExtension::Client;
  using Enumerator = LoopBound<wire::Enumerator::Client>;
  // What a signal is answered with, on the loop: an error's code, or 0; nothing is answered
  // while there is no handler.
  using OnSignal = std::function<std::int64_t(const std::string&)>;

  explicit FakeHost(int socket, OnSignal onSignal = {});
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  // Waits for the answer; R is read out of it on the loop: make(Extension&).
  template <class R, class Make>
  Outcome<R> call(Make make) {
    return callBlocking<R>(_loop, [side = _side, make = std::move(make)]() mutable {
      return make(side.get()->extension);
    });
  }
  template <class R, class Make, class Handler>
  void callLater(Make make, Handler handler) {
    (void)callAsync<R>(
        _loop, _callbacks,
        [side = _side, make = std::move(make)]() mutable { return make(side.get()->extension); },
        std::nullopt, std::move(handler));
  }
  [[nodiscard]] Outcome<Enumerator> enumerator(const std::string& identifier);
  // Goes away, as a host that ends.
  void hangUp();

  [[nodiscard]] EventLoop& loop() { return _loop; }

 private:
  struct Side {
    kj::Own<RpcConnection> connection;
    Extension extension;
  };

  CallbackPool _callbacks;
  EventLoop _loop;
  LoopBound<kj::Own<Side>> _side;
};

}  // namespace tessera
