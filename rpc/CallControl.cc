#include "rpc/CallControl.h"

#include <string>

#include <kj/debug.h>

namespace tessera {

void CallControl::requestCancel() {
  _queue->post([self = shared_from_this()] {
    self->end({RpcFailure::Kind::Cancelled, "the caller cancelled"});
  });
}

RpcFailure CallControl::failureOf(const kj::Exception& exception) const {
  return _reason ? *_reason : RpcFailure::of(exception);
}

kj::Promise<void> CallControl::deadline(kj::Timer& timer, CallTimeout timeout) {
  if (!timeout) return kj::READY_NOW;
  return timer.afterDelay(timeout->count() * kj::NANOSECONDS)
      .then([this, timeout] {
        const auto allowed = std::chrono::duration_cast<std::chrono::milliseconds>(*timeout);
        end({RpcFailure::Kind::TimedOut,
             "no answer within " + std::to_string(allowed.count()) + " ms"});
      })
      .eagerlyEvaluate(nullptr);
}

void CallControl::end(RpcFailure reason) {
  if (_canceler == nullptr || _reason) return;
  _reason = std::move(reason);
  _canceler->cancel(KJ_EXCEPTION(FAILED, _reason->text.c_str()));
}

}  // namespace tessera
