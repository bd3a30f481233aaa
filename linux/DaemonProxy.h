#pragma once

#include "linux/SkiffClient.h"
#include "platform/tessera/GVDaemonConnection.h"

namespace tessera {

// Requests to the daemon whose connection errors go to one handler. What a request needs it
// keeps itself: the proxy may be let go at once.
//
// Threads: any.
class DaemonProxy final : public GVDaemonProxy {
 public:
  DaemonProxy(SkiffClient& skiff, GVErrorHandler handler)
      : _skiff(skiff), _handler(std::move(handler)) {}

  void enumerateItemsInFolder(const std::optional<GVFileObjectID>& folder, std::uint8_t sortOrder,
                              std::uint64_t offset, std::uint64_t limit,
                              PageCompletion completion) override;
  void enumerateAllFoldersWithSortOrder(std::uint8_t sortOrder, std::uint64_t offset,
                                        std::uint64_t limit, PageCompletion completion) override;
  void enumerateWorkingSetChangesFromChangeToken(const NSDataPtr& changeToken, std::uint64_t limit,
                                                 WorkingSetCompletion completion) override;
  void getItemUpdateSenderWithReceiver(const std::shared_ptr<GVItemNotificationReceiving>& receiver,
                                       SenderReply reply) override;

 private:
  // Hands the outcome to `deliver` when there is one, else its error to the handler.
  template <class R, class Make, class Deliver>
  void call(Make make, Deliver deliver);

  SkiffClient& _skiff;
  const GVErrorHandler _handler;
};

}  // namespace tessera
