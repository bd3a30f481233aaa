#pragma once

#include <filesystem>
#include <utility>

#include "linux/SkiffLink.h"
#include "rpc/Call.h"
#include "rpc/LoopBound.h"

namespace tessera {

// Calls to the daemon, from any thread.
//
//   _skiff.callBlocking<Answer>([](SkiffSession& session) {
//     return session.skiff().itemAtPathRequest().send().then(...);  // a kj::Promise<Answer>
//   });
//
// `make` runs on the loop, with an open session, which is kept until the call has ended.
// Every call ends in bounded time, also when the daemon is not there, dies or hangs, except
// for those that are given no limit and whose daemon is alive.
//
// Threads: any. Lifetime: within that of the loop and the pool.
class SkiffClient {
 public:
  SkiffClient(EventLoop& loop, CallbackPool& callbacks, const std::filesystem::path& socket,
              const SkiffPatience& patience = {});

  template <class R, class Make>
  [[nodiscard]] Outcome<R> callBlocking(Make make) {
    return tessera::callBlocking<R>(_loop, withSession<R>(std::move(make)), _patience.blockingCall);
  }
  // `handler` takes an Outcome<R> and runs once, on a thread of the pool.
  template <class R, class Make, class Handler>
  CallHandle callAsync(Make make, Handler handler) {
    return tessera::callAsync<R>(_loop, _callbacks, withSession<R>(std::move(make)),
                                 _patience.asynchronousCall, std::move(handler));
  }
  // For as long as it takes.
  template <class R, class Make, class Handler>
  CallHandle callAsyncUnlimited(Make make, Handler handler) {
    return tessera::callAsync<R>(_loop, _callbacks, withSession<R>(std::move(make)), std::nullopt,
                                 std::move(handler));
  }

  // Ends the connection and makes no more: every call fails from now on.
  void close();

  [[nodiscard]] EventLoop& loop() { return _loop; }
  [[nodiscard]] CallbackPool& callbacks() { return _callbacks; }
  [[nodiscard]] const SkiffPatience& patience() const { return _patience; }

 private:
  template <class R, class Make>
  [[nodiscard]] auto withSession(Make make) const {
    return [link = _link, make = std::move(make)]() mutable {
      return link.get()->session().then([&make](kj::Own<SkiffSession> session) -> kj::Promise<R> {
        return session->watch<R>(make(*session));
      });
    };
  }

  EventLoop& _loop;
  CallbackPool& _callbacks;
  const SkiffPatience _patience;
  LoopBound<kj::Own<SkiffLink>> _link;
};

}  // namespace tessera
