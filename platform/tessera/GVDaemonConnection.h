#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/foundation/NSData.h"
#include "platform/foundation/NSError.h"
#include "platform/tessera/GVItemNotification.h"
#include "platform/tessera/GVQueryItem.h"

namespace tessera {

// The daemon as its clients see it. Every call returns at once; exactly one of the call's
// completion and the proxy's error handler is called, once, on the client library's
// threads, in bounded time even when the daemon dies or hangs.
//
// Threads: any.
class GVDaemonProxy {
 public:
  // (items, next offset or 0 at the end, error)
  using PageCompletion = std::function<void(const GVQueryItems&, std::uint64_t, const NSErrorPtr&)>;
  // (updated items, deleted items' identifiers, new change token, error)
  using WorkingSetCompletion =
      std::function<void(const GVQueryItems&, const std::vector<GVFileObjectID>&, const NSDataPtr&,
                         const NSErrorPtr&)>;
  // (sender, dictionary, error)
  using SenderReply = std::function<void(const std::shared_ptr<GVItemUpdateSender>&,
                                         const GVDictionary&, const NSErrorPtr&)>;

  virtual ~GVDaemonProxy() = default;

  // enumerateItemsInFolder:sortOrder:offset:limit:completion: — folder nullopt is the root;
  // sort order 0 by name, 1 by date
  virtual void enumerateItemsInFolder(const std::optional<GVFileObjectID>& folder,
                                      std::uint8_t sortOrder, std::uint64_t offset,
                                      std::uint64_t limit, PageCompletion completion) = 0;
  // enumerateAllFoldersWithSortOrder:offset:limit:completion:
  virtual void enumerateAllFoldersWithSortOrder(std::uint8_t sortOrder, std::uint64_t offset,
                                                std::uint64_t limit, PageCompletion completion) = 0;
  // enumerateWorkingSetChangesFromChangeToken:limit:completion: — token nil is the start
  virtual void enumerateWorkingSetChangesFromChangeToken(const NSDataPtr& changeToken,
                                                         std::uint64_t limit,
                                                         WorkingSetCompletion completion) = 0;
  // getItemUpdateSenderWithReceiver:reply:
  virtual void getItemUpdateSenderWithReceiver(
      const std::shared_ptr<GVItemNotificationReceiving>& receiver, SenderReply reply) = 0;
};

// The process's connection to the daemon.
class GVDaemonConnection {
 public:
  virtual ~GVDaemonConnection() = default;

  // The installed one (InstalledBackend<GVDaemonConnection>).
  [[nodiscard]] static GVDaemonConnection& defaultConnection();

  // remoteObjectProxyWithErrorHandler: — connects when needed, again after a failure. The
  // handler gets connection errors.
  [[nodiscard]] virtual std::shared_ptr<GVDaemonProxy> remoteObjectProxyWithErrorHandler(
      GVErrorHandler handler) = 0;
};

}  // namespace tessera
