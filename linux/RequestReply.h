#pragma once

#include <memory>
#include <utility>

#include <capnp/capability.h>
#include <capnp/message.h>

#include "linux/LoopFulfiller.h"
#include "platform/dispatch/WorkerPool.h"

namespace tessera {

using MessagePtr = std::unique_ptr<capnp::MallocMessageBuilder>;

// The way in which a request's results get back to the loop. They are written on the thread
// that has them, and only copied into the connection's message on the loop.
//
// Threads: any; copies answer the same request, and only the first answer counts. A request
// whose last copy goes without an answer fails at its caller.
template <class Results>
class RequestReply {
 public:
  explicit RequestReply(std::shared_ptr<LoopFulfiller<MessagePtr>> fulfiller)
      : _fulfiller(std::move(fulfiller)) {}

  // `encode` gets a Results::Builder.
  template <class Encode>
  void send(Encode&& encode) const {
    auto message = std::make_unique<capnp::MallocMessageBuilder>();
    std::forward<Encode>(encode)(message->initRoot<Results>());
    _fulfiller->fulfill(std::move(message));
  }

 private:
  std::shared_ptr<LoopFulfiller<MessagePtr>> _fulfiller;
};

// Runs `start(reply)` on a thread of the pool and answers the call with what it sends, then
// or later. To be returned by a method of a server, on the loop; whatever `start` needs of
// the parameters it has copied. Results hold no capabilities.
template <class Params, class Results, class Start>
kj::Promise<void> answerOnPool(EventLoop& loop, WorkerPool& pool,
                               capnp::CallContext<Params, Results> context, Start start) {
  context.releaseParams();
  auto answer = LoopFulfiller<MessagePtr>::make(loop);
  pool.run([start = std::move(start), reply = RequestReply<Results>(std::move(answer.fulfiller))] {
    start(reply);
  });
  return answer.promise.then([context](MessagePtr message) mutable {
    context.setResults(message->template getRoot<Results>().asReader());
  });
}

}  // namespace tessera
