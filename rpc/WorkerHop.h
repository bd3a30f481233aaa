#pragma once

#include <exception>
#include <type_traits>
#include <utility>

#include <kj/async.h>
#include <kj/exception.h>

#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"

namespace tessera {

// Runs `work` away from the loop and answers on it: what a method of an exported object
// returns when its work blocks.
//
//   return onWorker<Page>(_loop, [this](auto task) { _workers.run(std::move(task)); },
//                         [store, id] { return store->page(id); })
//       .then([context](Page page) mutable { encode(page, context.getResults()); });
//
// `run` is called at once and gets a copyable task for another thread, which must run or
// drop it; a dropped one makes the promise fail. What `work` throws, the promise fails with.
// Work whose promise was dropped in the meantime still runs, for nobody.
//
// Threads: called on the loop. Lifetime: the threads may outlive the loop.
template <class R, class Run, class Work>
kj::Promise<R> onWorker(EventLoop& loop, Run&& run, Work work) {
  struct Hop {
    Hop(EventLoop& l, kj::Own<kj::PromiseFulfiller<R>> f, Work w)
        : queue(l.queue()), fulfiller(l, kj::mv(f)), work(kj::mv(w)) {}

    void operator()() {
      if constexpr (std::is_void_v<R>) {
        settle([this] {
          work();
          return [](auto& to) { to.fulfill(); };
        });
      } else {
        settle(
            [this] { return [value = work()](auto& to) mutable { to.fulfill(kj::mv(value)); }; });
      }
    }

    template <class Do>
    void settle(Do run) {
      kj::Maybe<kj::Exception> failure = kj::runCatchingExceptions(
          [&] { queue->post([to = fulfiller, answer = run()]() mutable { answer(*to.get()); }); });
      KJ_IF_MAYBE (f, failure) {
        queue->post([to = fulfiller, e = kj::mv(*f)]() mutable { to.get()->reject(kj::mv(e)); });
      }
    }

    const std::shared_ptr<LoopQueue> queue;
    LoopBound<kj::Own<kj::PromiseFulfiller<R>>> fulfiller;
    Work work;
  };

  auto pair = kj::newPromiseAndFulfiller<R>();
  auto hop = std::make_shared<Hop>(loop, kj::mv(pair.fulfiller), kj::mv(work));
  run([hop] { (*hop)(); });
  return kj::mv(pair.promise);
}

}  // namespace tessera
