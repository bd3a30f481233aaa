#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include <kj/async.h>

#include "rpc/LoopBound.h"

namespace tessera {

// The far end of a promise on an event loop: fulfils it from any thread. Only the first
// value counts. A promise whose far end went without a value fails, so that nobody waits
// for ever.
//
// Threads: fulfill() and destruction any; make() on the loop.
// Lifetime: may outlive the loop; its value is then destroyed unseen.
template <class T>
class LoopFulfiller {
 public:
  struct Pair {
    kj::Promise<T> promise;
    std::shared_ptr<LoopFulfiller> fulfiller;
  };

  // T is movable and may be destroyed on any thread.
  [[nodiscard]] static Pair make(EventLoop& loop) {
    auto pair = kj::newPromiseAndFulfiller<T>();
    return {kj::mv(pair.promise), std::make_shared<LoopFulfiller>(loop, kj::mv(pair.fulfiller))};
  }

  LoopFulfiller(EventLoop& loop, kj::Own<kj::PromiseFulfiller<T>> fulfiller)
      : _queue(loop.queue()), _fulfiller(loop, kj::mv(fulfiller)) {}
  LoopFulfiller(const LoopFulfiller&) = delete;
  LoopFulfiller& operator=(const LoopFulfiller&) = delete;
  ~LoopFulfiller() {
    if (_done.exchange(true)) return;
    _queue->post([fulfiller = _fulfiller] {
      fulfiller.get()->reject(KJ_EXCEPTION(FAILED, "a request was let go without an answer"));
    });
  }

  void fulfill(T value) {
    if (_done.exchange(true)) return;
    _queue->post([fulfiller = _fulfiller, value = std::move(value)]() mutable {
      fulfiller.get()->fulfill(std::move(value));
    });
  }

 private:
  const std::shared_ptr<LoopQueue> _queue;
  const LoopBound<kj::Own<kj::PromiseFulfiller<T>>> _fulfiller;
  std::atomic<bool> _done{false};
};

}  // namespace tessera
