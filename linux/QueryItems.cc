#include "linux/QueryItems.h"

#include <utility>

#include "linux/ErrorCodec.h"
#include "linux/ItemCodec.h"
#include "linux/SkiffFailure.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVErrors.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

struct ItemAnswer {
  GVQueryItemPtr item;
  NSErrorPtr error;
};

NSErrorPtr unusableRecord() {
  return NSError::errorWithDomain(
      GVTesseraErrorDomain, GVTesseraErrorUnknown,
      {{NSLocalizedDescriptionKey,
        std::string("The sync daemon (skiff) sent a record that cannot be used.")}});
}

}  // namespace

GVQueryItemPtr QueryItems::containerItem(const GVContainerPtr& container, bool forceScan) {
  auto outcome = _skiff.callBlocking<GVQueryItemPtr>([&](SkiffSession& session) {
    auto request = session.skiff().containerItemRequest();
    request.setContainerId(container->containerID());
    request.setScanFirst(forceScan);
    return request.send().then([](auto&& results) {
      return results.getFound() ? decodeItem(results.getItem()) : nullptr;
    });
  });
  if (outcome.ok()) return std::move(outcome).value();
  gvc_default_log().error("[ERROR] cannot get the record of container %@: %@",
                          container->containerID(), skiffError(outcome.failure()));
  return nullptr;
}

GVQueryItemPtr QueryItems::itemAtURL(const NSURLPtr& url, bool fakeFSEvent, NSErrorPtr* error) {
  auto outcome = _skiff.callBlocking<ItemAnswer>([&](SkiffSession& session) {
    auto request = session.skiff().itemAtPathRequest();
    request.setPath(url->path());
    request.setScanFirst(fakeFSEvent);
    return request.send().then([](auto&& results) {
      ItemAnswer answer;
      answer.error = decodeError(results.getError());
      if (!answer.error) answer.item = decodeItem(results.getItem());
      if (!answer.error && !answer.item) answer.error = unusableRecord();
      return answer;
    });
  });
  ItemAnswer answer = outcome.ok() ? std::move(outcome).value()
                                   : ItemAnswer{nullptr, skiffError(outcome.failure())};
  if (error != nullptr && answer.error) *error = answer.error;
  return answer.item;
}

}  // namespace tessera
