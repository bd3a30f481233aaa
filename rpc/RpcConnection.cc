#include "rpc/RpcConnection.h"

#include <utility>

#include <capnp/message.h>
#include <kj/debug.h>
#include <sys/socket.h>

namespace tessera {

namespace {

using PeerSide = capnp::rpc::twoparty::Side;

PeerSide own(RpcConnection::Side side) {
  return side == RpcConnection::Side::Client ? PeerSide::CLIENT : PeerSide::SERVER;
}

PeerSide other(RpcConnection::Side side) {
  return side == RpcConnection::Side::Client ? PeerSide::SERVER : PeerSide::CLIENT;
}

capnp::ReaderOptions readerOptions(const RpcLimits& limits) {
  capnp::ReaderOptions options;
  options.traversalLimitInWords = limits.traversalWords;
  options.nestingLimit = limits.nesting;
  return options;
}

}  // namespace

RpcConnection::RpcConnection(kj::LowLevelAsyncIoProvider& io, kj::Timer& timer,
                             kj::AutoCloseFd socket, Side side,
                             kj::Maybe<capnp::Capability::Client> exported, RpcLimits limits)
    : _limits(limits),
      _timer(timer),
      _socket(socket.get()),
      _side(side),
      _stream(io.wrapUnixSocketFd(kj::mv(socket))),
      _messages(*_stream),
      _observed(_messages, [this] { checkBacklog(); }),
      _network(_observed.interface(), _limits.descriptorsPerMessage, own(side),
               readerOptions(limits)),
      _tasks(*this) {
  _tasks.add(_network.onDisconnect().then([this] { noteEnd(); }));
  _tasks.add(closeAfterHangUp());
  auto& system = _system.emplace(_network, kj::mv(exported));
  system.setFlowLimit(_limits.flowWords);
  // A client reads nothing, not even the end of the connection, before it has asked for
  // the peer's object.
  if (_side == Side::Client) static_cast<void>(bootstrap());
}

RpcConnection::~RpcConnection() noexcept(false) {
  _open = false;
  destroySystem();
}

capnp::Capability::Client RpcConnection::bootstrap() {
  if (!_open) return KJ_EXCEPTION(DISCONNECTED, "the connection has ended");
  KJ_IF_MAYBE (peer, _peer) {
    return *peer;
  }
  capnp::MallocMessageBuilder message;
  auto peer = message.initRoot<capnp::rpc::twoparty::VatId>();
  peer.setSide(other(_side));
  return _peer.emplace(KJ_ASSERT_NONNULL(_system).bootstrap(peer));
}

// Ending the socket alone would not do: with too many calls unanswered nothing is read from
// it any more, and its end not seen.
void RpcConnection::close() {
  if (!_open) return;
  _open = false;
  ::shutdown(_socket, SHUT_RDWR);
  _tasks.add(kj::evalLater([this] { destroySystem(); }));
}

// Whoever hung up may have sent something last, and that is still read in the meantime; for
// the rest see close().
kj::Promise<void> RpcConnection::closeAfterHangUp() {
  return _stream->whenWriteDisconnected()
      .then([this] { return _timer.afterDelay(_limits.lastMessages); })
      .then([this] { close(); });
}

void RpcConnection::destroySystem() {
  _peer = nullptr;
  _system = nullptr;
}

void RpcConnection::onDisconnect(kj::Function<void()> handler) {
  if (!_ended) {
    _handlers.push_back(kj::mv(handler));
    return;
  }
  _tasks.add(kj::evalLater([this, handler = kj::mv(handler)]() mutable { run(kj::mv(handler)); }));
}

void RpcConnection::noteEnd() {
  _open = false;
  _ended = true;
  for (auto& handler : std::exchange(_handlers, {})) run(kj::mv(handler));
}

void RpcConnection::run(kj::Function<void()> handler) {
  const auto failure = kj::runCatchingExceptions([&handler] { handler(); });
  KJ_IF_MAYBE (exception, failure) {
    taskFailed(kj::cp(*exception));
  }
}

// A message that waits is on its way to the peer as fast as the peer reads; the library
// queues without a limit. Looked at before each message is read, which stops a peer that
// asks and asks, and now and then while anything waits, which stops what comes by itself.
void RpcConnection::checkBacklog() {
  if (!_open) return;
  if (_network.getCurrentQueueSize() > _limits.unreadBytes) {
    KJ_LOG(WARNING, "connection dropped: the peer does not read", unreadBytes());
    close();
  } else if (!_watchesBacklog && _network.getCurrentQueueCount() > 0) {
    _watchesBacklog = true;
    _tasks.add(watchBacklog());
  }
}

kj::Promise<void> RpcConnection::watchBacklog() {
  return _timer.afterDelay(_limits.unreadCheck).then([this]() -> kj::Promise<void> {
    checkBacklog();
    if (_open && _network.getCurrentQueueCount() > 0) return watchBacklog();
    _watchesBacklog = false;
    return kj::READY_NOW;
  });
}

void RpcConnection::taskFailed(kj::Exception&& exception) {
  KJ_LOG(ERROR, "a connection's task failed", exception);
}

}  // namespace tessera
