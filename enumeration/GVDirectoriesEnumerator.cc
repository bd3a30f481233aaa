#include "enumeration/GVDirectoriesEnumerator.h"

#include "core/GVFPAdditions.h"
#include "enumeration/PageAndChangeTokens.h"
#include "enumeration/ProviderItems.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

constexpr std::uint64_t kPageLimit = 200;  // folders

}  // namespace

void GVDirectoriesEnumerator::enumerateItemsForObserver(
    const NSFileProviderEnumerationObserverPtr& observer,
    const NSFileProviderPage& startingAtPage) {
  const std::uint8_t sortOrder = gv_pageTokenSortOrder(startingAtPage);
  const auto daemon = GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(
      [observer](const NSErrorPtr& error) { observer->finishEnumeratingWithError(error); });
  daemon->enumerateAllFoldersWithSortOrder(
      sortOrder, gv_pageTokenOffset(startingAtPage), kPageLimit,
      [observer, sortOrder](const GVQueryItems& items, std::uint64_t nextOffset,
                            const NSErrorPtr& error) {
        if (error) {
          gvc_default_log().error("[ERROR] there was an error when listing items: %@", error);
          observer->finishEnumeratingWithError(gv_fileProviderError(error));
          return;
        }
        observer->didEnumerateItems(gv_providerItems(items));
        observer->finishEnumeratingUpToPage(gv_pageTokenFromSortOrder(sortOrder, nextOffset));
      });
}

}  // namespace tessera
