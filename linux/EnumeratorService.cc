#include "linux/EnumeratorService.h"

#include <cerrno>
#include <utility>

#include "linux/EnumerationObservers.h"
#include "linux/ErrorCodec.h"
#include "linux/PageCodec.h"
#include "linux/RequestReply.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

NSFileProviderChangeEnumerating* changesOf(const NSFileProviderEnumeratorPtr& enumerator) {
  return dynamic_cast<NSFileProviderChangeEnumerating*>(enumerator.get());
}

NSErrorPtr noChangesError() {
  return gv_errorWithPOSIXCode(ENOTSUP, "This container does not tell of changes.");
}

}  // namespace

EnumeratorService::~EnumeratorService() noexcept {
  _requests.run([enumerator = std::exchange(_enumerator, nullptr)] { enumerator->invalidate(); });
}

kj::Promise<void> EnumeratorService::enumerateItems(EnumerateItemsContext context) {
  NSErrorPtr error;
  auto page = decodePage(context.getParams().getStartingAt(), &error);
  return answerOnPool(
      _loop, _requests, context,
      [enumerator = _enumerator, page = std::move(page), error](const PageObserver::Reply& reply) {
        const auto observer = std::make_shared<PageObserver>(reply);
        if (error) return observer->finishEnumeratingWithError(error);
        enumerator->enumerateItemsForObserver(observer, page);
      });
}

kj::Promise<void> EnumeratorService::enumerateChanges(EnumerateChangesContext context) {
  NSErrorPtr error;
  auto anchor = decodeToken(context.getParams().getFromAnchor(), &error);
  return answerOnPool(_loop, _requests, context,
                      [enumerator = _enumerator, anchor = std::move(anchor),
                       error](const ChangesObserver::Reply& reply) {
                        const auto observer = std::make_shared<ChangesObserver>(reply);
                        auto* changes = changesOf(enumerator);
                        if (error) return observer->finishEnumeratingWithError(error);
                        if (changes == nullptr)
                          return observer->finishEnumeratingWithError(noChangesError());
                        changes->enumerateChangesForObserver(observer, anchor);
                      });
}

kj::Promise<void> EnumeratorService::currentSyncAnchor(CurrentSyncAnchorContext context) {
  using Reply = RequestReply<wire::Enumerator::CurrentSyncAnchorResults>;
  return answerOnPool(_loop, _requests, context, [enumerator = _enumerator](const Reply& reply) {
    auto* changes = changesOf(enumerator);
    if (changes == nullptr) {
      reply.send([](auto results) { encodeError(noChangesError(), results.initError()); });
      return;
    }
    changes->currentSyncAnchorWithCompletionHandler(
        [reply](const NSFileProviderSyncAnchor& anchor) {
          reply.send([&](auto results) { results.setAnchor(encodeToken(anchor)); });
        });
  });
}

}  // namespace tessera
