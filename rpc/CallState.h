#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include <kj/function.h>

#include "rpc/CallControl.h"
#include "rpc/CallbackPool.h"
#include "rpc/RpcFailure.h"

namespace tessera {

// One call between the thread that made it and the loop that runs it. It ends once: with
// the outcome for wait(), or with the handler given to the pool.
//
// Threads: any; self-synchronised.
template <class R>
class CallState final : public CallControl {
 public:
  using Handler = kj::Function<void(Outcome<R>)>;

  explicit CallState(std::shared_ptr<LoopQueue> queue) : CallControl(std::move(queue)) {}
  CallState(std::shared_ptr<LoopQueue> queue, CallbackPool& pool, Handler handler)
      : CallControl(std::move(queue)), _pool(&pool), _handler(kj::mv(handler)) {}

  void finish(Outcome<R> outcome) {
    std::unique_lock held(_lock);
    if (std::exchange(_finished, true)) return;
    if (_handler) {
      auto handler = kj::mv(*_handler);
      _handler.reset();
      held.unlock();
      _pool->post([handler = kj::mv(handler), outcome = std::move(outcome)]() mutable {
        handler(std::move(outcome));
      });
      return;
    }
    _outcome.emplace(std::move(outcome));
    _changed.notify_all();
  }

  // Once. Precondition: there is no handler.
  Outcome<R> wait() {
    std::unique_lock held(_lock);
    _changed.wait(held, [this] { return _outcome.has_value(); });
    return std::move(*_outcome);
  }

 private:
  CallbackPool* const _pool = nullptr;

  std::mutex _lock;
  std::condition_variable _changed;
  // Guarded by _lock:
  std::optional<Handler> _handler;
  std::optional<Outcome<R>> _outcome;
  bool _finished = false;
};

}  // namespace tessera
