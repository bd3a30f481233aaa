#include "enumeration/GVWorkingSetEnumerator.h"

#include <string>

#include "core/GVFPAdditions.h"
#include "enumeration/ProviderItems.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/fileprovider/NSFileProviderManager.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

constexpr std::uint64_t kChangesLimit = 200;

bool isSameToken(const NSDataPtr& left, const NSDataPtr& right) {
  return left == right || (left && right && left->isEqualToData(*right));
}

NSErrorPtr errorForObserver(const NSErrorPtr& error) {
  if (error->domain() == GVTesseraErrorDomain && error->code() == GVTesseraErrorLoggedOut) {
    return gv_fileProviderError(
        NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorNotAuthenticated));
  }
  return gv_fileProviderError(error);
}

std::vector<NSFileProviderItemIdentifier> identifiersOf(
    const std::vector<GVFileObjectID>& fileObjectIDs) {
  std::vector<NSFileProviderItemIdentifier> identifiers;
  identifiers.reserve(fileObjectIDs.size());
  for (const GVFileObjectID& fileObjectID : fileObjectIDs) {
    identifiers.push_back(fileObjectID.asString());
  }
  return identifiers;
}

}  // namespace

const NSFileProviderSyncAnchor& GVWorkingSetEnumerator::initialSyncAnchor() {
  static const NSFileProviderSyncAnchor anchor = NSData::dataWithText("initialSyncAnchor");
  return anchor;
}

void GVWorkingSetEnumerator::enumerateItemsForObserver(
    const NSFileProviderEnumerationObserverPtr& observer, const NSFileProviderPage&) {
  observer->finishEnumeratingUpToPage(nullptr);
  NSFileProviderManager::defaultManager().signalEnumeratorForContainerItemIdentifier(
      NSFileProviderWorkingSetContainerItemIdentifier, [](const NSErrorPtr&) {});
}

void GVWorkingSetEnumerator::currentSyncAnchorWithCompletionHandler(
    const SyncAnchorCompletion& completion) {
  completion(initialSyncAnchor());
}

void GVWorkingSetEnumerator::enumerateChangesForObserver(
    const NSFileProviderChangeObserverPtr& observer,
    const NSFileProviderSyncAnchor& fromSyncAnchor) {
  const auto daemon = GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(
      [observer](const NSErrorPtr& error) { observer->finishEnumeratingWithError(error); });
  const NSDataPtr changeToken =
      isSameToken(fromSyncAnchor, initialSyncAnchor()) ? nullptr : fromSyncAnchor;
  daemon->enumerateWorkingSetChangesFromChangeToken(
      changeToken, kChangesLimit,
      [observer, fromSyncAnchor](const GVQueryItems& updated,
                                 const std::vector<GVFileObjectID>& deleted,
                                 const NSDataPtr& newToken, const NSErrorPtr& error) {
        if (error) {
          observer->finishEnumeratingWithError(errorForObserver(error));
          return;
        }
        observer->didUpdateItems(gv_providerItems(updated));
        observer->didDeleteItemsWithIdentifiers(identifiersOf(deleted));
        observer->finishEnumeratingChangesUpToSyncAnchor(newToken,
                                                         !isSameToken(newToken, fromSyncAnchor));
      });
}

}  // namespace tessera
