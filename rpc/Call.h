#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include <kj/async.h>
#include <kj/debug.h>

#include "rpc/CallControl.h"
#include "rpc/CallState.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"
#include "rpc/RpcFailure.h"

namespace tessera {

// Calls from any thread to objects on an event loop.
//
//   auto page = callBlocking<Page>(loop, [daemon] {      // daemon: LoopBound<Daemon::Client>
//     return daemon.get().pageRequest().send().then([](auto&& reply) { return Page(reply); });
//   }, 30s);
//
// `make` runs on the loop and returns a kj::Promise<R>; it is kept until that has ended, so
// that what it captures may be used throughout. R is void or a plain value that any thread
// may own: records read out of a reply, or a LoopBound. When the loop stops, calls that have
// not ended fail as Disconnected.

// A call that has been started. Threads: any.
template <class R>
class [[nodiscard]] Call {
 public:
  Call(EventLoop& loop, std::shared_ptr<CallState<R>> state)
      : _loop(loop), _state(std::move(state)) {}

  // Blocks until the call has ended. Once, and not on the loop. Dropping the call instead
  // leaves it running and its result unused.
  Outcome<R> wait() {
    KJ_REQUIRE(!_loop.isCurrent(), "a loop cannot wait for itself");
    return _state->wait();
  }
  [[nodiscard]] CallHandle handle() const { return CallHandle(_state); }

 private:
  EventLoop& _loop;
  std::shared_ptr<CallState<R>> _state;
};

namespace detail {

inline RpcFailure loopStopped() {
  return {RpcFailure::Kind::Disconnected, "the event loop has stopped"};
}

template <class R>
kj::Promise<void> reportTo(std::shared_ptr<CallState<R>> state, kj::Promise<R> call) {
  auto fail = [state](kj::Exception&& e) { state->finish(state->failureOf(e)); };
  if constexpr (std::is_void_v<R>) {
    return call.then([state] { state->finish(Outcome<void>()); }, kj::mv(fail));
  } else {
    return call.then([state](R&& value) { state->finish(Outcome<R>(kj::mv(value))); },
                     kj::mv(fail));
  }
}

template <class R, class Make>
void start(EventLoop& loop, std::shared_ptr<CallState<R>> state, Make make, CallTimeout timeout) {
  const bool accepted = loop.post([&loop, state, make = kj::mv(make), timeout]() mutable {
    auto kept = kj::heap<Make>(kj::mv(make));
    auto& makeNow = *kept;
    kj::Promise<R> made = kj::evalNow([&makeNow]() -> kj::Promise<R> { return makeNow(); });
    auto call = state->supervise(made.attach(kj::mv(kept)), loop.timer(), timeout);
    // A promise that is dropped before its end is one that the stopping loop dropped.
    loop.add(reportTo<R>(state, kj::mv(call)).attach(kj::defer([state] {
      state->finish(loopStopped());
    })));
  });
  if (!accepted) state->finish(loopStopped());
}

}  // namespace detail

template <class R, class Make>
Call<R> startCall(EventLoop& loop, Make make, CallTimeout timeout = std::nullopt) {
  auto state = std::make_shared<CallState<R>>(loop.queue());
  detail::start<R>(loop, state, kj::mv(make), timeout);
  return Call<R>(loop, std::move(state));
}

// Blocks the calling thread, which must not be the loop's.
template <class R, class Make>
Outcome<R> callBlocking(EventLoop& loop, Make make, CallTimeout timeout = std::nullopt) {
  KJ_REQUIRE(!loop.isCurrent(), "a blocking call on the loop would wait for itself");
  return startCall<R>(loop, kj::mv(make), timeout).wait();
}

// Returns at once. `handler` takes an Outcome<R>; it runs exactly once, on a thread of
// `pool`, however the call ends.
template <class R, class Make, class Handler>
CallHandle callAsync(EventLoop& loop, CallbackPool& pool, Make make, CallTimeout timeout,
                     Handler handler) {
  auto state = std::make_shared<CallState<R>>(loop.queue(), pool, kj::mv(handler));
  detail::start<R>(loop, state, kj::mv(make), timeout);
  return CallHandle(std::move(state));
}

}  // namespace tessera
