#include "linux/UpdateSenderProxy.h"

#include <utility>

#include "linux/UpdateSender.h"

namespace tessera {

void UpdateSenderProxy::boostPriority(const GVReply& completion) {
  callStarted();
  const auto self = shared_from_this();
  _sender->boost(
      [self, completion] {
        completion();
        self->callSucceeded();
      },
      [self](const NSErrorPtr& error) { self->callFailed(error); });
}

void UpdateSenderProxy::watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                                       const GVErrorHandler& gatherReply) {
  callStarted();
  const auto self = shared_from_this();
  _sender->watch(
      url, options,
      [self, gatherReply](const NSErrorPtr& error) {
        gatherReply(error);
        self->callSucceeded();
      },
      [self](const NSErrorPtr& error) { self->callFailed(error); });
}

void UpdateSenderProxy::invalidate() {
  _sender->invalidate();
}

void UpdateSenderProxy::connectionLost(const NSErrorPtr& loss) {
  _state.lock()->loss = loss;
  tellIfNobodyDid();
}

void UpdateSenderProxy::callSucceeded() {
  --_state.lock()->calls;
  tellIfNobodyDid();
}

void UpdateSenderProxy::callFailed(const NSErrorPtr& error) {
  {
    const auto state = _state.lock();
    --state->calls;
    state->told = true;
  }
  tell(error);
}

// While calls are under way, their failure will tell.
void UpdateSenderProxy::tellIfNobodyDid() {
  NSErrorPtr loss;
  {
    const auto state = _state.lock();
    if (state->calls > 0 || state->told || !state->loss) return;
    state->told = true;
    loss = state->loss;
  }
  tell(loss);
}

void UpdateSenderProxy::tell(const NSErrorPtr& error) const {
  if (_handler) _handler(error);
}

}  // namespace tessera
