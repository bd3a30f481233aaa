#include "tests/support/tessera/FakeUpdateSender.h"

#include <string>
#include <utility>

namespace tessera {
namespace {

std::string watchText(const NSURLPtr& url, std::uint64_t options) {
  return "watch(" + url->path() + ", " + std::to_string(options) + ")";
}

}  // namespace

class FakeUpdateSender::Proxy final : public GVItemNotificationSending {
 public:
  Proxy(std::size_t number, CallRecorderPtr calls, const std::shared_ptr<State>& state,
        GVErrorHandler handler)
      : _name("sender.proxy" + std::to_string(number) + "."),
        _calls(std::move(calls)),
        _state(state),
        _handler(std::move(handler)) {}

  void boostPriority(const GVReply& completion) override {
    _calls->record(_name + "boostPriority");
    if (const auto state = _state.lock()) state->boosts.push({completion});
  }

  void watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                      const GVErrorHandler& gatherReply) override {
    _calls->record(_name + watchText(url, options));
    if (const auto state = _state.lock())
      state->watches.push({url, options, gatherReply, _handler});
  }

  void invalidate() override { _calls->record(_name + "invalidate"); }

  void fail(const NSErrorPtr& error) const { _handler(error); }

 private:
  const std::string _name;
  const CallRecorderPtr _calls;
  const std::weak_ptr<State> _state;
  const GVErrorHandler _handler;
};

FakeUpdateSender::FakeUpdateSender(CallRecorderPtr calls)
    : _state(std::make_shared<State>(std::move(calls))) {}

FakeUpdateSender::~FakeUpdateSender() = default;

std::shared_ptr<FakeUpdateSender::Proxy> FakeUpdateSender::proxy(std::size_t number) {
  const std::lock_guard held(_lock);
  return number <= _proxies.size() ? _proxies[number - 1].lock() : nullptr;
}

bool FakeUpdateSender::triggerError(std::size_t number, const NSErrorPtr& error) {
  const auto held = proxy(number);
  if (held) held->fail(error);
  return held != nullptr;
}

bool FakeUpdateSender::isProxyHeld(std::size_t number) {
  return proxy(number) != nullptr;
}

std::shared_ptr<GVItemNotificationSending> FakeUpdateSender::remoteObjectProxyWithErrorHandler(
    GVErrorHandler handler) {
  const std::lock_guard held(_lock);
  auto made =
      std::make_shared<Proxy>(_proxies.size() + 1, _state->calls, _state, std::move(handler));
  _proxies.push_back(made);
  return made;
}

void FakeUpdateSender::boostPriority(const GVReply& completion) {
  _state->calls->record("sender.boostPriority");
  _state->boosts.push({completion});
}

void FakeUpdateSender::watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                                      const GVErrorHandler& gatherReply) {
  _state->calls->record("sender." + watchText(url, options));
  _state->watches.push({url, options, gatherReply, nullptr});
}

void FakeUpdateSender::invalidate() {
  _state->calls->record("sender.invalidate");
}

}  // namespace tessera
