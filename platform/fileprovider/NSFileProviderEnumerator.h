#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSError.h"

namespace tessera {

// Receives one page of a listing: any number of didEnumerateItems, then one finish.
// Threads: any; implementations live until the finish.
class NSFileProviderEnumerationObserver {
 public:
  virtual ~NSFileProviderEnumerationObserver() = default;
  // didEnumerateItems:
  virtual void didEnumerateItems(const NSFileProviderItems& items) = 0;
  // finishEnumeratingUpToPage: — nil at the end of the listing
  virtual void finishEnumeratingUpToPage(const NSFileProviderPage& page) = 0;
  // finishEnumeratingWithError:
  virtual void finishEnumeratingWithError(const NSErrorPtr& error) = 0;
};
using NSFileProviderEnumerationObserverPtr = std::shared_ptr<NSFileProviderEnumerationObserver>;

// Receives one batch of changes: updates and deletions, then one finish.
class NSFileProviderChangeObserver {
 public:
  virtual ~NSFileProviderChangeObserver() = default;
  // didUpdateItems:
  virtual void didUpdateItems(const NSFileProviderItems& items) = 0;
  // didDeleteItemsWithIdentifiers:
  virtual void didDeleteItemsWithIdentifiers(
      const std::vector<NSFileProviderItemIdentifier>& identifiers) = 0;
  // finishEnumeratingChangesUpToSyncAnchor:moreComing:
  virtual void finishEnumeratingChangesUpToSyncAnchor(const NSFileProviderSyncAnchor& anchor,
                                                      bool moreComing) = 0;
  // finishEnumeratingWithError:
  virtual void finishEnumeratingWithError(const NSErrorPtr& error) = 0;
};
using NSFileProviderChangeObserverPtr = std::shared_ptr<NSFileProviderChangeObserver>;

// Lists one container, page by page. Owned by the platform until invalidate().
// Threads: any.
class NSFileProviderEnumerator {
 public:
  virtual ~NSFileProviderEnumerator() = default;
  // enumerateItemsForObserver:startingAtPage:
  virtual void enumerateItemsForObserver(const NSFileProviderEnumerationObserverPtr& observer,
                                         const NSFileProviderPage& startingAtPage) = 0;
  // invalidate — the platform wants nothing more of this enumerator.
  virtual void invalidate() = 0;
};
using NSFileProviderEnumeratorPtr = std::shared_ptr<NSFileProviderEnumerator>;

// The optional part of the enumerator protocol: changes since a sync anchor. An
// enumerator that has it derives from both; the platform looks with a dynamic cast.
class NSFileProviderChangeEnumerating {
 public:
  using SyncAnchorCompletion = std::function<void(const NSFileProviderSyncAnchor&)>;

  virtual ~NSFileProviderChangeEnumerating() = default;
  // enumerateChangesForObserver:fromSyncAnchor:
  virtual void enumerateChangesForObserver(const NSFileProviderChangeObserverPtr& observer,
                                           const NSFileProviderSyncAnchor& fromSyncAnchor) = 0;
  // currentSyncAnchorWithCompletionHandler:
  virtual void currentSyncAnchorWithCompletionHandler(const SyncAnchorCompletion& completion) = 0;
};

}  // namespace tessera
