#include "linux/HostConnection.h"

#include <chrono>
#include <utility>

#include "linux/ErrorCodec.h"
#include "linux/ExtensionService.h"
#include "rpc/Call.h"

namespace tessera {
namespace {

constexpr std::chrono::seconds kSignalPatience{30};

NSErrorPtr hostError(const RpcFailure& failure) {
  const bool gone = failure.kind == RpcFailure::Kind::Disconnected;
  return NSError::errorWithDomain(
      NSCocoaErrorDomain, gone ? NSXPCConnectionInvalid : NSXPCConnectionInterrupted,
      {{NSLocalizedDescriptionKey, "The file-provider service did not answer: " + failure.text}});
}

}  // namespace

// The object that is exported is a promise for the extension's: the connection has to be
// there before the extension, which may signal at once.
HostConnection::OnLoop::OnLoop(EventLoop& loop, kj::AutoCloseFd socket,
                               std::shared_ptr<std::promise<void>> gone) {
  auto pair = kj::newPromiseAndFulfiller<wire::FileProviderExtension::Client>();
  exported = kj::mv(pair.fulfiller);
  auto& made = connection.emplace(
      kj::heap<RpcConnection>(loop.io(), loop.timer(), kj::mv(socket), RpcConnection::Side::Server,
                              wire::FileProviderExtension::Client(kj::mv(pair.promise))));
  host = made->bootstrapAs<wire::ExtensionHost>();
  made->onDisconnect([gone = std::move(gone)] { gone->set_value(); });
}

HostConnection::HostConnection(EventLoop& loop, CallbackPool& callbacks, kj::AutoCloseFd socket)
    : _loop(loop), _callbacks(callbacks) {
  using Made = LoopBound<kj::Own<OnLoop>>;
  auto gone = std::make_shared<std::promise<void>>();
  _gone = gone->get_future();
  auto made = callBlocking<Made>(
      loop, [&loop, gone, socket = kj::mv(socket)]() mutable -> kj::Promise<Made> {
        return Made(loop, kj::heap<OnLoop>(loop, kj::mv(socket), gone));
      });
  KJ_REQUIRE(made.ok(), "the host's socket cannot be used", made.failure().text.c_str());
  _onLoop = std::move(made).value();
}

HostConnection::~HostConnection() {
  close();
}

void HostConnection::serve(WorkerPool& requests,
                           std::shared_ptr<NSFileProviderExtension> extension) {
  _loop.post([&loop = _loop, &requests, onLoop = _onLoop, extension = std::move(extension)] {
    onLoop.get()->exported->fulfill(kj::heap<ExtensionService>(loop, requests, extension));
  });
}

void HostConnection::waitUntilGone() {
  _gone.wait();
}

void HostConnection::close() {
  [[maybe_unused]] const auto closed =
      callBlocking<void>(_loop, [onLoop = _onLoop]() -> kj::Promise<void> {
        auto& state = *onLoop.get();
        state.exported->reject(KJ_EXCEPTION(DISCONNECTED, "the extension ends"));
        state.host = nullptr;
        state.connection = nullptr;
        return kj::READY_NOW;
      });
}

void HostConnection::signalEnumeratorForContainerItemIdentifier(
    const NSFileProviderItemIdentifier& identifier, SignalCompletion completionHandler) {
  callAsync<NSErrorPtr>(
      _loop, _callbacks,
      [onLoop = _onLoop, identifier]() -> kj::Promise<NSErrorPtr> {
        KJ_IF_MAYBE (host, onLoop.get()->host) {
          auto request = host->signalEnumeratorRequest();
          request.setContainerIdentifier(identifier);
          return request.send().then(
              [](auto&& results) { return decodeError(results.getError()); });
        }
        return KJ_EXCEPTION(DISCONNECTED, "the file-provider service is gone");
      },
      kSignalPatience,
      [completion = std::move(completionHandler)](Outcome<NSErrorPtr> outcome) {
        completion(outcome.ok() ? outcome.value() : hostError(outcome.failure()));
      });
}

}  // namespace tessera
