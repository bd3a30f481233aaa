#include "linux/DaemonProxy.h"

#include <utility>
#include <vector>

#include "linux/ErrorCodec.h"
#include "linux/ItemCodec.h"
#include "linux/PageCodec.h"
#include "linux/SkiffFailure.h"
#include "linux/UpdateReceiverService.h"
#include "linux/UpdateSender.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

struct ItemPage {
  GVQueryItems items;
  std::uint64_t nextOffset = 0;
  NSErrorPtr error;
};

ItemPage pageOf(auto&& results) {
  ItemPage page;
  page.error = decodeError(results.getError());
  if (page.error) return page;
  page.items = decodeItems(results.getItems());
  page.nextOffset = results.getNextOffset();
  return page;
}

struct WorkingSetChanges {
  GVQueryItems updates;
  std::vector<GVFileObjectID> deletions;
  NSDataPtr newToken;
  NSErrorPtr error;
};

WorkingSetChanges changesOf(auto&& results) {
  WorkingSetChanges changes;
  changes.error = decodeError(results.getError());
  if (changes.error) return changes;
  changes.updates = decodeItems(results.getUpdates());
  changes.deletions = decodeIdentifiers(results.getDeletions());
  changes.newToken = decodeToken(results.getNewToken(), &changes.error);
  return changes;
}

struct SenderAnswer {
  std::shared_ptr<GVItemUpdateSender> sender;
  NSErrorPtr error;
};

}  // namespace

template <class R, class Make, class Deliver>
void DaemonProxy::call(Make make, Deliver deliver) {
  _skiff.callAsync<R>(std::move(make),
                      [deliver = std::move(deliver), handler = _handler](Outcome<R> outcome) {
                        if (outcome.ok()) {
                          deliver(std::move(outcome).value());
                        } else if (handler) {
                          handler(skiffError(outcome.failure()));
                        }
                      });
}

void DaemonProxy::enumerateItemsInFolder(const std::optional<GVFileObjectID>& folder,
                                         std::uint8_t sortOrder, std::uint64_t offset,
                                         std::uint64_t limit, PageCompletion completion) {
  call<ItemPage>(
      [folder, sortOrder, offset, limit](SkiffSession& session) {
        auto request = session.skiff().enumerateItemsInFolderRequest();
        if (folder) request.setFolder(folder->asString());
        request.setSortOrder(sortOrder);
        request.setOffset(offset);
        request.setLimit(limit);
        return request.send().then([](auto&& results) { return pageOf(results); });
      },
      [completion = std::move(completion)](const ItemPage& page) {
        completion(page.items, page.nextOffset, page.error);
      });
}

void DaemonProxy::enumerateAllFoldersWithSortOrder(std::uint8_t sortOrder, std::uint64_t offset,
                                                   std::uint64_t limit, PageCompletion completion) {
  call<ItemPage>(
      [sortOrder, offset, limit](SkiffSession& session) {
        auto request = session.skiff().enumerateAllFoldersRequest();
        request.setSortOrder(sortOrder);
        request.setOffset(offset);
        request.setLimit(limit);
        return request.send().then([](auto&& results) { return pageOf(results); });
      },
      [completion = std::move(completion)](const ItemPage& page) {
        completion(page.items, page.nextOffset, page.error);
      });
}

void DaemonProxy::enumerateWorkingSetChangesFromChangeToken(const NSDataPtr& changeToken,
                                                            std::uint64_t limit,
                                                            WorkingSetCompletion completion) {
  call<WorkingSetChanges>(
      [changeToken, limit](SkiffSession& session) {
        auto request = session.skiff().enumerateWorkingSetChangesRequest();
        request.setChangeToken(encodeToken(changeToken));
        request.setLimit(limit);
        return request.send().then([](auto&& results) { return changesOf(results); });
      },
      [completion = std::move(completion)](const WorkingSetChanges& changes) {
        completion(changes.updates, changes.deletions, changes.newToken, changes.error);
      });
}

void DaemonProxy::getItemUpdateSenderWithReceiver(
    const std::shared_ptr<GVItemNotificationReceiving>& receiver, SenderReply reply) {
  call<SenderAnswer>(
      [&skiff = _skiff, receiver](SkiffSession& session) {
        auto request = session.skiff().updateSenderRequest();
        request.setReceiver(
            kj::heap<UpdateReceiverService>(skiff.loop(), skiff.callbacks(), receiver));
        return request.send().then([&skiff, session = kj::addRef(session)](auto&& results) mutable {
          if (auto error = decodeError(results.getError())) return SenderAnswer{{}, error};
          return SenderAnswer{UpdateSender::make(skiff, kj::mv(session), results.getSender()),
                              nullptr};
        });
      },
      [reply = std::move(reply)](const SenderAnswer& answer) {
        reply(answer.sender, {}, answer.error);
      });
}

}  // namespace tessera
