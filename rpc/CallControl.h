#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include <kj/async.h>
#include <kj/timer.h>

#include "rpc/LoopQueue.h"
#include "rpc/RpcFailure.h"

namespace tessera {

// How long a call may take; none is for ever.
using CallTimeout = std::optional<std::chrono::nanoseconds>;

// What can end a call before it has a result: its caller, or its deadline.
//
// Threads: requestCancel() any; the rest is the loop's.
class CallControl : public std::enable_shared_from_this<CallControl> {
 public:
  explicit CallControl(std::shared_ptr<LoopQueue> queue) : _queue(std::move(queue)) {}
  CallControl(const CallControl&) = delete;
  CallControl& operator=(const CallControl&) = delete;
  virtual ~CallControl() = default;

  // Returns at once. Without effect on a call that has ended.
  void requestCancel();

  // `call`, failing as soon as it is cancelled or `timeout` has passed on `timer`; what it
  // was doing is then gone already, here and (by message) at the peer.
  template <class R>
  [[nodiscard]] kj::Promise<R> supervise(kj::Promise<R> call, kj::Timer& timer,
                                         CallTimeout timeout) {
    auto canceler = kj::heap<kj::Canceler>();
    _canceler = canceler.get();
    auto supervised = canceler->wrap(kj::mv(call));
    return supervised.attach(deadline(timer, timeout), kj::defer([this] { _canceler = nullptr; }),
                             kj::mv(canceler));
  }
  // Why a supervised call that ended with `exception` failed.
  [[nodiscard]] RpcFailure failureOf(const kj::Exception& exception) const;

 private:
  kj::Promise<void> deadline(kj::Timer& timer, CallTimeout timeout);
  void end(RpcFailure reason);

  const std::shared_ptr<LoopQueue> _queue;
  kj::Canceler* _canceler = nullptr;  // while the call runs
  std::optional<RpcFailure> _reason;  // of the one who ended it
};

// What a caller keeps of a call that it does not wait for. Copies are the same call.
// Threads: any. Lifetime: may outlive the call and its loop.
class CallHandle {
 public:
  CallHandle() = default;
  explicit CallHandle(std::shared_ptr<CallControl> control) : _control(std::move(control)) {}

  // The call fails as Cancelled, soon, unless its end came first. An empty handle does
  // nothing.
  void cancel() const {
    if (_control) _control->requestCancel();
  }

 private:
  std::shared_ptr<CallControl> _control;
};

}  // namespace tessera
