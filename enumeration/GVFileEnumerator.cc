#include "enumeration/GVFileEnumerator.h"

#include "core/GVFPAdditions.h"
#include "enumeration/PageAndChangeTokens.h"
#include "enumeration/ProviderItems.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

constexpr std::uint64_t kPageLimit = 200;  // items

}  // namespace

std::shared_ptr<GVFileEnumerator> GVFileEnumerator::create(
    const std::optional<GVFileObjectID>& fileObjectID, const NSURLPtr& url,
    const NSFileProviderItemIdentifier& itemIdentifier, bool recursive) {
  if (!url) {
    gvc_default_log().error("[ERROR] can't create a file enumeration without a url");
    return nullptr;
  }
  return std::shared_ptr<GVFileEnumerator>(
      new GVFileEnumerator(fileObjectID, url, itemIdentifier, recursive));
}

GVFileEnumerator::GVFileEnumerator(const std::optional<GVFileObjectID>& fileObjectID,
                                   const NSURLPtr& url,
                                   const NSFileProviderItemIdentifier& itemIdentifier,
                                   bool recursive)
    : _itemIdentifier(itemIdentifier),
      _fileObjectID(fileObjectID),
      _url(url),
      _isRecursive(recursive),
      _queue(DispatchQueue::serial("file-enumerator")) {
  uuid_generate(*_uuid.lock());
}

// One that was let go without invalidate() may still be registered; its handlers do
// nothing any more.
GVFileEnumerator::~GVFileEnumerator() {
  NSNotificationCenter::defaultCenter().removeObserver(this);
}

void GVFileEnumerator::enumerateItemsForObserver(
    const NSFileProviderEnumerationObserverPtr& observer,
    const NSFileProviderPage& startingAtPage) {
  const LogSection listing;
  const Log& log = gvc_default_log();
  log.debug("[DEBUG] ┏%llx listing items", listing.identifier());
  if (startingAtPage) {
    log.debug("[DEBUG] from page %lu",
              static_cast<unsigned long>(gv_pageTokenOffset(startingAtPage)));
  }
  // Closed by the daemon's answer to the listing, and by nothing else.
  const log_section_t asking = log_section_create(false);
  log.debug("[DEBUG] ┣%llx calling skiff", asking);
  const std::uint8_t sortOrder = gv_pageTokenSortOrder(startingAtPage);
  setupNotificationReceivingIfNeededWithCompletion([self = shared_from_this(), observer,
                                                    page = startingAtPage, sortOrder,
                                                    asking](const NSErrorPtr& error) {
    if (error) {
      observer->finishEnumeratingWithError(gv_fileProviderError(error));
      return;
    }
    self->_enumerateItems(observer, page, sortOrder, asking);
  });
}

void GVFileEnumerator::_enumerateItems(const NSFileProviderEnumerationObserverPtr& observer,
                                       const NSFileProviderPage& page, std::uint8_t sortOrder,
                                       log_section_t section) {
  const auto daemon = GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(
      [observer](const NSErrorPtr& error) {
        observer->finishEnumeratingWithError(gv_fileProviderError(error));
      });
  daemon->enumerateItemsInFolder(
      _fileObjectID, sortOrder, gv_pageTokenOffset(page), kPageLimit,
      [self = shared_from_this(), observer, sortOrder, section](
          const GVQueryItems& items, std::uint64_t nextOffset, const NSErrorPtr& error) {
        const LogSection asking(section);
        const Log& log = gvc_default_log();
        log.debug("[DEBUG] ┳%llx received next page %llu items=%@", section, nextOffset, items);
        if (error) {
          log.error("[ERROR] there was an error when listing items: %@", error);
          observer->finishEnumeratingWithError(gv_fileProviderError(error));
          return;
        }
        observer->didEnumerateItems(gv_providerItems(items));
        observer->finishEnumeratingUpToPage(gv_pageTokenFromSortOrder(sortOrder, nextOffset));
      });
}

}  // namespace tessera
