#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/LogSection.h"
#include "platform/dispatch/DispatchQueue.h"
#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "platform/foundation/Guarded.h"
#include "platform/foundation/NSURL.h"
#include "platform/foundation/UUID.h"
#include "platform/tessera/GVCancellable.h"
#include "platform/tessera/GVFileObjectID.h"
#include "platform/tessera/GVItemNotification.h"

namespace tessera {

// Lists one folder in pages asked of the daemon, and reports its changes.
//
// Changes are not asked for: from the first listing on, the daemon pushes the folder's
// updates into a buffer here, the platform is signalled, and its next change enumeration
// takes the whole buffer as one batch. A sync anchor is the number of batches handed out
// (the rank) in a generation, which a random uuid names. Whatever may have lost a change
// starts a new generation; every anchor of an earlier one is expired then, and the platform
// lists the folder again.
//
// Invariant: each push either stands in the buffer, has been handed out, or was dropped
// together with its generation.
// Threads: any. `_queue` serialises the set-up of notifications, the sender's errors,
// account observation and invalidation; `_monitor` guards the buffers, the rank and the
// change of generations and is recursive. The queue comes before the monitor.
// Lifetime: shared; the platform's until invalidate(). While notifications come in, the
// handlers given to the daemon hold the enumerator, and invalidate() or an error of the
// sender releases it. The notification centre holds it weakly.
class GVFileEnumerator final : public NSFileProviderEnumerator,
                               public NSFileProviderChangeEnumerating,
                               public GVItemNotificationReceiving,
                               public GVCancellable,
                               public std::enable_shared_from_this<GVFileEnumerator> {
 public:
  using SetupCompletion = std::function<void(const NSErrorPtr&)>;

  // initWithFileObjectID:url:itemIdentifier:recursive: — nil without a URL. The file object
  // identifier is nullopt for the root; recursive watches the whole subtree.
  [[nodiscard]] static std::shared_ptr<GVFileEnumerator> create(
      const std::optional<GVFileObjectID>& fileObjectID, const NSURLPtr& url,
      const NSFileProviderItemIdentifier& itemIdentifier, bool recursive);
  ~GVFileEnumerator() override;

  // Listing: GVFileEnumerator.cc

  // enumerateItemsForObserver:startingAtPage: — returns at once. The folder is watched from
  // then on, so that no change after the listing is missed.
  void enumerateItemsForObserver(const NSFileProviderEnumerationObserverPtr& observer,
                                 const NSFileProviderPage& startingAtPage) override;

  // Changes, for the platform: GVFileEnumeratorChanges.cc

  // enumerateChangesForObserver:fromSyncAnchor: — "expired" and "nothing new" are answered
  // with the monitor held, a batch without it
  void enumerateChangesForObserver(const NSFileProviderChangeObserverPtr& observer,
                                   const NSFileProviderSyncAnchor& fromSyncAnchor) override;
  // currentSyncAnchorWithCompletionHandler: — always of rank 0, so that whoever starts here
  // after a batch has gone out lists the folder again. Does not wait for the monitor.
  void currentSyncAnchorWithCompletionHandler(const SyncAnchorCompletion& completion) override;
  // invalidate — no more notifications. Listing still works.
  void invalidate() override;

  // Changes, from the daemon: GVFileEnumeratorChanges.cc

  // receiveUpdates:logicalExtensions:physicalExtensions:reply:
  void receiveUpdates(const GVQueryItems& updates, const GVDictionary& logicalExtensions,
                      const GVDictionary& physicalExtensions, const GVReply& reply) override;
  // receiveProgressUpdates:reply: — ignored; the reply is never called
  void receiveProgressUpdates(const GVQueryItems&, const GVReply&) override {}

  // setupNotificationReceivingIfNeededWithCompletion: — the completion runs on the queue, or
  // on the client library's thread when the connection fails
  void setupNotificationReceivingIfNeededWithCompletion(SetupCompletion completion);

 private:
  GVFileEnumerator(const std::optional<GVFileObjectID>& fileObjectID, const NSURLPtr& url,
                   const NSFileProviderItemIdentifier& itemIdentifier, bool recursive);

  void _enumerateItems(const NSFileProviderEnumerationObserverPtr& observer,
                       const NSFileProviderPage& page, std::uint8_t sortOrder,
                       log_section_t section);

  // On the queue:
  void _setupNotificationReceivingIfNeededWithCompletion(const SetupCompletion& completion);
  void _useSender(const std::shared_ptr<GVItemUpdateSender>& sender, const NSErrorPtr& error,
                  const SetupCompletion& completion);
  void _startObservingAccountChangesIfNeeded();
  void _stopObservingAccountChanges();
  void _invalidate();

  // On any thread:
  void _handleNotificationError(const NSErrorPtr& error);
  void _accountTokenDidChange();
  void containerListDidChange();
  void _invalidateChangeToken();
  void _signalChange();

  const NSFileProviderItemIdentifier _itemIdentifier;
  const std::optional<GVFileObjectID> _fileObjectID;
  const NSURLPtr _url;
  const bool _isRecursive;
  const DispatchQueuePtr _queue;

  std::recursive_mutex _monitor;
  // Guarded by _monitor:
  std::unordered_map<GVFileObjectID, GVQueryItemPtr> _updatedItemsByIDs;
  std::vector<NSFileProviderItemIdentifier> _deletedItemsIdentifiers;
  std::uint64_t _rank = 0;
  // Replaced with _monitor held. The anchor request reads it without, at any time: this lock
  // of its own is held for the copy alone and keeps that from seeing half a uuid.
  Guarded<UUIDBytes> _uuid;

  // Touched on the queue alone:
  std::shared_ptr<GVItemNotificationSending> _remoteNotificationSender;
  bool _invalidated = false;
  bool _isObservingAccountChanges = false;
  // Set on the queue; cleared there or, when the connection fails, on another thread.
  std::atomic<bool> _isSettingUpNotificationReceiving{false};
};

}  // namespace tessera
