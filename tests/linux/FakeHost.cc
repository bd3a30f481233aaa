#include "tests/linux/FakeHost.h"

#include "linux/WireText.h"

namespace tessera {
namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class HostService final : public wire::ExtensionHost::Server {
 public:
  explicit HostService(FakeHost::OnSignal onSignal) : _onSignal(std::move(onSignal)) {}

  kj::Promise<void> signalEnumerator(SignalEnumeratorContext context) override {
    if (!_onSignal) return kj::NEVER_DONE;
    const auto code = _onSignal(textOf(context.getParams().getContainerIdentifier()));
    if (code != 0) {
      auto error = context.getResults().initError();
      error.setDomain("HostDomain");
      error.setCode(code);
    }
    return kj::READY_NOW;
  }

 private:
  const FakeHost::OnSignal _onSignal;
};
#pragma GCC diagnostic pop

}  // namespace

FakeHost::FakeHost(int socket, OnSignal onSignal) {
  using Made = LoopBound<kj::Own<Side>>;
  auto made = callBlocking<Made>(_loop, [this, socket, onSignal]() -> kj::Promise<Made> {
    auto connection = kj::heap<RpcConnection>(
        _loop.io(), _loop.timer(), kj::AutoCloseFd(socket), RpcConnection::Side::Client,
        capnp::Capability::Client(kj::heap<HostService>(onSignal)));
    auto extension = connection->bootstrapAs<wire::FileProviderExtension>();
    return Made(_loop, kj::heap<Side>(Side{kj::mv(connection), kj::mv(extension)}));
  });
  _side = std::move(made).value();
}

Outcome<FakeHost::Enumerator> FakeHost::enumerator(const std::string& identifier) {
  return call<Enumerator>([this, identifier](Extension& extension) {
    auto request = extension.enumeratorForContainerRequest();
    request.setIdentifier(identifier);
    return request.send().then(
        [this](auto&& results) { return Enumerator(_loop, results.getEnumerator()); });
  });
}

void FakeHost::hangUp() {
  (void)callBlocking<void>(_loop, [side = _side]() -> kj::Promise<void> {
    side.get()->connection->close();
    return kj::READY_NOW;
  });
}

}  // namespace tessera
