#include "core/CallerError.h"
#include "core/GVFPAdditions.h"
#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVLog.h"
#include "platform/tessera/GVQueryItem.h"
#include "platform/tessera/GVURLAdditions.h"

namespace tessera {
namespace {

// The user's Documents and Desktop folders are containers, but the daemon knows them
// better than the list of containers does.
bool isKnownFromContainerList(const std::optional<std::string>& containerID) {
  return containerID && *containerID != GVUbiquitousDocumentsContainerID &&
         *containerID != GVUbiquitousDesktopContainerID;
}

GVQueryItemPtr itemOfContainer(const std::string& containerID, bool forceScan) {
  const GVContainersByID containers = GVContainer::allContainersByContainerID();
  const auto found = containers.find(containerID);
  const GVContainerPtr container = found == containers.end() ? nullptr : found->second;
  return GVQueryItem::containerItemForContainer(container, forceScan);
}

}  // namespace

NSFileProviderItemPtr GVFileProviderExtension::itemForIdentifier(
    const NSFileProviderItemIdentifier& identifier, NSErrorPtr* error) {
  const LogSection section;
  gvc_default_log().debug("[DEBUG] ┏%llx asked properties for %@", section.identifier(),
                          identifier);
  if (!_isLoggedInOrError(error)) return nullptr;
  const NSURLPtr url = URLForItemWithPersistentIdentifier(identifier);
  if (!url) {
    gv_handErrorToCaller("-[GVFileProviderExtension itemForIdentifier:error:]",
                         fileProviderErrorForNonExistentItemWithIdentifier(identifier), error);
    return nullptr;
  }
  NSFileProviderItemPtr item = _propertiesForItemAtURL(url, error);
  gvc_default_log().debug("[DEBUG] returning %@", item);
  return item;
}

NSFileProviderItemPtr GVFileProviderExtension::_propertiesForItemAtURL(const NSURLPtr& url,
                                                                       NSErrorPtr* error) {
  return _propertiesForItemAtURL(url, false, error);
}

NSFileProviderItemPtr GVFileProviderExtension::_propertiesForNewItemAtURL(const NSURLPtr& url,
                                                                          NSErrorPtr* error) {
  return _propertiesForItemAtURL(url, true, error);
}

NSFileProviderItemPtr GVFileProviderExtension::_propertiesForItemAtURL(const NSURLPtr& url,
                                                                       bool forceScan,
                                                                       NSErrorPtr* error) {
  if (!gv_isInSyncedLocation(url)) {
    if (error != nullptr) {
      *error = NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem);
    }
    return nullptr;
  }
  const LogSection section;
  gvc_default_log().debug("[DEBUG] ┏%llx asked properties for %@", section.identifier(),
                          url->path());
  const auto containerID = gv_containerIDIfIsDocumentsContainerURL(url);
  GVQueryItemPtr item = isKnownFromContainerList(containerID)
                            ? itemOfContainer(*containerID, forceScan)
                            : GVQueryItem::askDaemonQueryItemForURL(url, forceScan, error);
  gvc_default_log().debug("[DEBUG] returning %@", item);
  if (error != nullptr) *error = gv_fileProviderError(*error);
  return item;
}

NSErrorPtr GVFileProviderExtension::fileProviderErrorFromFSError(const NSErrorPtr& error) {
  if (!error) return nullptr;
  if (error->domain() != NSCocoaErrorDomain || error->code() != NSFileWriteFileExistsError) {
    return error;
  }
  const NSURLPtr collidingURL = fp_collidingURL(error);
  if (!collidingURL) return error;
  const NSFileProviderItemPtr existing = _propertiesForItemAtURL(collidingURL, nullptr);
  if (!existing) return error;
  return fileProviderErrorForCollisionWithItem(existing);
}

}  // namespace tessera
