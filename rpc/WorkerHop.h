#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include <kj/async.h>
#include <kj/exception.h>

#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"

namespace tessera {

namespace detail {

template <class R, class Work>
class WorkerHop {
 public:
  WorkerHop(EventLoop& loop, kj::Own<kj::PromiseFulfiller<R>> fulfiller, Work work)
      : _queue(loop.queue()), _fulfiller(loop, kj::mv(fulfiller)), _work(kj::mv(work)) {}

  void run() {
    KJ_IF_MAYBE (failure, kj::runCatchingExceptions([this] { workAndAnswer(); })) {
      _queue->post(
          [to = _fulfiller, e = kj::mv(*failure)]() mutable { to.get()->reject(kj::mv(e)); });
    }
  }

 private:
  void workAndAnswer() {
    if constexpr (std::is_void_v<R>) {
      _work();
      _queue->post([to = _fulfiller] { to.get()->fulfill(); });
    } else {
      _queue->post(
          [to = _fulfiller, value = _work()]() mutable { to.get()->fulfill(kj::mv(value)); });
    }
  }

  const std::shared_ptr<LoopQueue> _queue;
  const LoopBound<kj::Own<kj::PromiseFulfiller<R>>> _fulfiller;
  Work _work;
};

}  // namespace detail

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
  auto answer = kj::newPromiseAndFulfiller<R>();
  auto hop =
      std::make_shared<detail::WorkerHop<R, Work>>(loop, kj::mv(answer.fulfiller), kj::mv(work));
  run([hop] { hop->run(); });
  return kj::mv(answer.promise);
}

}  // namespace tessera
