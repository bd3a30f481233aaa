#include <utility>

#include "core/FailedAssertion.h"
#include "enumeration/GVFileEnumerator.h"
#include "enumeration/PageAndChangeTokens.h"
#include "enumeration/ProviderItems.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/fileprovider/NSFileProviderManager.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVAccount.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "platform/tessera/GVErrors.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

// Updates and deletions together; one more and the buffer is dropped.
constexpr std::size_t kMostBuffered = 5000;

// What to watch, as the daemon's update sender takes it.
constexpr std::uint64_t kWatchChildren = 0x13;
constexpr std::uint64_t kWatchSubtree = 0x17;

}  // namespace

// Setting up and taking down

void GVFileEnumerator::setupNotificationReceivingIfNeededWithCompletion(
    SetupCompletion completion) {
  _queue->async([self = shared_from_this(), completion = std::move(completion)] {
    self->_setupNotificationReceivingIfNeededWithCompletion(completion);
  });
}

void GVFileEnumerator::_setupNotificationReceivingIfNeededWithCompletion(
    const SetupCompletion& completion) {
  gv_assert(_queue->isCurrent(), "_queue->isCurrent()");
  _startObservingAccountChangesIfNeeded();
  gv_assert(!_isSettingUpNotificationReceiving, "!_isSettingUpNotificationReceiving");
  _isSettingUpNotificationReceiving = true;
  const SetupCompletion wrapped = [self = shared_from_this(), completion](const NSErrorPtr& error) {
    self->_isSettingUpNotificationReceiving = false;
    completion(error);
  };
  if (_remoteNotificationSender) {
    wrapped(nullptr);
    return;
  }
  const auto daemon =
      GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(wrapped);
  daemon->getItemUpdateSenderWithReceiver(
      shared_from_this(),
      [self = shared_from_this(), wrapped](const std::shared_ptr<GVItemUpdateSender>& sender,
                                           const GVDictionary&, const NSErrorPtr& error) {
        self->_queue->async(
            [self, wrapped, sender, error] { self->_useSender(sender, error, wrapped); });
      });
}

void GVFileEnumerator::_useSender(const std::shared_ptr<GVItemUpdateSender>& sender,
                                  const NSErrorPtr& error, const SetupCompletion& completion) {
  if (error) {
    completion(error);
    return;
  }
  if (_invalidated) {
    sender->invalidate();
    completion(nullptr);
    return;
  }
  const GVErrorHandler handleError = [self = shared_from_this()](const NSErrorPtr& failure) {
    self->_handleNotificationError(failure);
  };
  _remoteNotificationSender = sender->remoteObjectProxyWithErrorHandler(handleError);
  _remoteNotificationSender->boostPriority([] {});
  sender->remoteObjectProxyWithErrorHandler(handleError)
      ->watchItemAtURL(_url, _isRecursive ? kWatchSubtree : kWatchChildren,
                       [handleError](const NSErrorPtr& failure) {
                         if (failure) handleError(failure);
                       });
  completion(nullptr);  // the watch's answer is not waited for
}

// Sender errors make the next listing set notifications up again.
void GVFileEnumerator::_handleNotificationError(const NSErrorPtr& error) {
  _queue->async([self = shared_from_this(), error] {
    gvc_default_log().debug("[DEBUG] There was an error while fetching items: %@", error);
    self->_remoteNotificationSender = nullptr;
    self->_invalidateChangeToken();
    if (error->domain() == GVTesseraErrorDomain) self->_signalChange();
  });
}

void GVFileEnumerator::invalidate() {
  _queue->async([self = shared_from_this()] { self->_invalidate(); });
}

void GVFileEnumerator::_invalidate() {
  gv_assert(_queue->isCurrent(), "_queue->isCurrent()");
  {
    const std::lock_guard held(_monitor);
    _invalidated = true;
    if (_remoteNotificationSender) _remoteNotificationSender->invalidate();
    _remoteNotificationSender = nullptr;
  }
  _stopObservingAccountChanges();
}

// Accounts and containers

void GVFileEnumerator::_startObservingAccountChangesIfNeeded() {
  gv_assert(_queue->isCurrent(), "_queue->isCurrent()");
  if (_isObservingAccountChanges || _invalidated) return;
  _isObservingAccountChanges = true;
  auto& center = NSNotificationCenter::defaultCenter();
  center.addObserver(this, GVAccountTokenDidChangeNotification, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->_accountTokenDidChange();
  });
  if (_itemIdentifier != NSFileProviderRootContainerItemIdentifier) return;
  // The client library tells of changes of the list only once it has been asked for it.
  static_cast<void>(GVContainer::allContainers());
  center.addObserver(this, GVContainerListDidChangeNotification, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->containerListDidChange();
  });
}

void GVFileEnumerator::_stopObservingAccountChanges() {
  gv_assert(_queue->isCurrent(), "_queue->isCurrent()");
  _isObservingAccountChanges = false;
  NSNotificationCenter::defaultCenter().removeObserver(this);
}

// On the posting thread, which is never one that runs this queue's work: the client library
// posts from a thread of its own.
void GVFileEnumerator::_accountTokenDidChange() {
  gvc_default_log().notice(
      "[NOTICE] received account did update notification, invalidating change token");
  _queue->sync([this] {
    if (_remoteNotificationSender) return;
    _invalidateChangeToken();
    _signalChange();
  });
}

void GVFileEnumerator::containerListDidChange() {
  const LogSection section;
  gvc_default_log().debug("[DEBUG] ┏%llx container list did change, invalidating our change token",
                          section.identifier());
  _invalidateChangeToken();
  _signalChange();
}

// Buffering and handing out

void GVFileEnumerator::receiveUpdates(const GVQueryItems& updates, const GVDictionary&,
                                      const GVDictionary&, const GVReply& reply) {
  {
    const std::lock_guard held(_monitor);
    for (const GVQueryItemPtr& item : updates) {
      const GVFileObjectID& identifier = item->fileObjectID();
      if (item->isDead()) {
        _updatedItemsByIDs.erase(identifier);
        _deletedItemsIdentifiers.push_back(identifier.asString());
      } else {
        if (!_deletedItemsIdentifiers.empty())
          std::erase(_deletedItemsIdentifiers, identifier.asString());
        _updatedItemsByIDs[identifier] = item;
      }
    }
    if (_updatedItemsByIDs.size() + _deletedItemsIdentifiers.size() > kMostBuffered) {
      _invalidateChangeToken();
    }
  }
  _signalChange();
  reply();
}

void GVFileEnumerator::currentSyncAnchorWithCompletionHandler(
    const SyncAnchorCompletion& completion) {
  const UUIDBytes uuid = *_uuid.lock();
  completion(gv_changeTokenFromRank(0, uuid));
}

void GVFileEnumerator::enumerateChangesForObserver(const NSFileProviderChangeObserverPtr& observer,
                                                   const NSFileProviderSyncAnchor& fromSyncAnchor) {
  const LogSection section;
  const Log& log = gvc_default_log();
  log.debug("[DEBUG] ┏%llx listing changes", section.identifier());
  GVQueryItems updated;
  std::vector<NSFileProviderItemIdentifier> deleted;
  NSFileProviderSyncAnchor newAnchor;
  {
    const std::lock_guard held(_monitor);
    const UUIDBytes uuid = *_uuid.lock();
    const std::int64_t rank = gv_changeTokenRankWithUUID(fromSyncAnchor, uuid);
    log.debug("[DEBUG] requested rank: %lld", rank);
    if (rank < 0 || static_cast<std::uint64_t>(rank) != _rank) {
      log.debug("[DEBUG] token expired (current rank %llu)", _rank);
      observer->finishEnumeratingWithError(NSError::errorWithDomain(
          NSFileProviderErrorDomain, NSFileProviderErrorSyncAnchorExpired));
      _invalidateChangeToken();
      return;
    }
    if (_updatedItemsByIDs.empty() && _deletedItemsIdentifiers.empty()) {
      log.debug("[DEBUG] no update to send back");
      observer->finishEnumeratingChangesUpToSyncAnchor(fromSyncAnchor, false);
      return;
    }
    updated.reserve(_updatedItemsByIDs.size());
    for (const auto& [identifier, item] : _updatedItemsByIDs) updated.push_back(item);
    deleted.swap(_deletedItemsIdentifiers);
    _updatedItemsByIDs.clear();
    _rank += 1;
    newAnchor = gv_changeTokenFromRank(_rank, uuid);
  }
  observer->didUpdateItems(gv_providerItems(updated));
  observer->didDeleteItemsWithIdentifiers(deleted);
  observer->finishEnumeratingChangesUpToSyncAnchor(newAnchor, false);
}

void GVFileEnumerator::_invalidateChangeToken() {
  gvc_default_log().debug("[DEBUG] invalidating change token");
  UUIDBytes uuid;
  uuid_generate(uuid);
  const std::lock_guard held(_monitor);
  _updatedItemsByIDs.clear();
  _deletedItemsIdentifiers.clear();
  _rank = 0;
  *_uuid.lock() = uuid;
}

// The words are the same for every folder.
void GVFileEnumerator::_signalChange() {
  gvc_default_log().debug("[DEBUG] signal changes to fileproviderd");
  NSFileProviderManager::defaultManager().signalEnumeratorForContainerItemIdentifier(
      _itemIdentifier, [](const NSErrorPtr& error) {
        if (error) {
          gvc_default_log().error("[ERROR] failed to signal enumerator for root container: %@",
                                  error);
        }
      });
}

}  // namespace tessera
