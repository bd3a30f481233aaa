#include "linux/UpdateReceiverService.h"

#include <utility>

#include "linux/ItemCodec.h"
#include "linux/LoopFulfiller.h"

namespace tessera {

UpdateReceiverService::~UpdateReceiverService() noexcept {
  _callbacks.post([receiver = std::exchange(_receiver, nullptr)]() mutable { receiver.reset(); });
}

template <class Deliver>
kj::Promise<void> UpdateReceiverService::inTurn(Deliver deliver) {
  auto call = _last.addBranch()
                  .then([this, deliver = std::move(deliver)]() mutable {
                    auto done = LoopFulfiller<Done>::make(_loop);
                    _callbacks.post([receiver = _receiver, deliver = std::move(deliver),
                                     fulfiller = std::move(done.fulfiller)] {
                      deliver(*receiver, [fulfiller] { fulfiller->fulfill({}); });
                    });
                    return kj::mv(done.promise);
                  })
                  .then([](Done) {})
                  .fork();
  auto answer = call.addBranch();
  _last = call.addBranch().catch_([](kj::Exception&&) {}).fork();
  return answer;
}

kj::Promise<void> UpdateReceiverService::receiveUpdates(ReceiveUpdatesContext context) {
  auto updates = decodeItems(context.getParams().getUpdates());
  context.releaseParams();
  return inTurn(
      [updates = std::move(updates)](GVItemNotificationReceiving& receiver, const GVReply& reply) {
        receiver.receiveUpdates(updates, {}, {}, reply);
      });
}

kj::Promise<void> UpdateReceiverService::receiveProgressUpdates(
    ReceiveProgressUpdatesContext context) {
  auto updates = decodeItems(context.getParams().getUpdates());
  return inTurn(
      [updates = std::move(updates)](GVItemNotificationReceiving& receiver, const GVReply& done) {
        receiver.receiveProgressUpdates(updates, [] {});
        done();
      });
}

}  // namespace tessera
