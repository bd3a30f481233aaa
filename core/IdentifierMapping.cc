#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVFileObjectID.h"
#include "platform/tessera/GVLog.h"
#include "platform/tessera/GVURLAdditions.h"

namespace tessera {
namespace {

NSURLPtr documentsURLOfDefaultContainer() {
  const GVContainersByID containers = GVContainer::allContainersByContainerID();
  const auto found = containers.find(GVUbiquitousDefaultContainerID);
  if (found == containers.end() || !found->second->documentsURL()) return nullptr;
  return found->second->documentsURL()->copy();
}

// Looked up once in the life of the process, found or not.
const NSURLPtr& rootURL() {
  static const NSURLPtr url = documentsURLOfDefaultContainer();
  return url;
}

}  // namespace

NSURLPtr GVFileProviderExtension::URLForItemWithPersistentIdentifier(
    const NSFileProviderItemIdentifier& identifier) {
  return _URLForItemWithPersistentIdentifier(identifier, true);
}

NSURLPtr GVFileProviderExtension::_URLForItemWithPersistentIdentifier(
    const NSFileProviderItemIdentifier& identifier, bool resolvingGVAliases) {
  return _URLForItemWithPersistentIdentifier(identifier, resolvingGVAliases, false);
}

NSURLPtr GVFileProviderExtension::_URLForItemWithPersistentIdentifier(
    const NSFileProviderItemIdentifier& identifier, bool resolvingGVAliases, bool attachPhysical) {
  const LogSection section;
  const Log& log = gvc_default_log();
  log.debug("[DEBUG] ┏%llx asked url for %@", section.identifier(), identifier);
  if (identifier == NSFileProviderRootContainerItemIdentifier) {
    log.debug("[DEBUG] returning %@", rootURL());
    return rootURL();
  }

  NSURLPtr url;
  NSErrorPtr error;
  if (const auto fileObjectID = GVFileObjectID::fileObjectIDWithString(identifier)) {
    url = gv_documentURLFromFileObjectID(*fileObjectID, &error);
  }
  if (resolvingGVAliases && gv_isExternalDocumentReference(url)) {
    log.debug("[DEBUG] we have a bookmark, returning its target");
    error = nullptr;
    url = gv_URLByResolvingExternalDocumentReferenceWithError(url, &error);
  }

  if (url) {
    log.debug("[DEBUG] returning %@", url);
  } else {
    log.error("[ERROR] returning nil, there was an error: %@", error);
  }
  // A URL outside the tree has been logged as returned and is dropped without a word.
  if (!gv_isInSyncedLocation(url)) return nullptr;
  if (attachPhysical) gv_addPhysicalProperty(url);
  return url;
}

std::optional<NSFileProviderItemIdentifier>
GVFileProviderExtension::persistentIdentifierForItemAtURL(const NSURLPtr& url) {
  if (!gv_isInSyncedLocation(url)) return std::nullopt;
  const LogSection section;
  const Log& log = gvc_default_log();
  log.debug("[DEBUG] ┏%llx asked identifier for %@", section.identifier(), url->path());
  NSErrorPtr error;
  const NSFileProviderItemPtr item = _propertiesForItemAtURL(url, &error);
  std::optional<NSFileProviderItemIdentifier> identifier;
  if (error) {
    log.debug("[DEBUG] couldn't get item identifier at %@: %@", url, error);
  } else if (item) {
    identifier = item->itemIdentifier();
  }
  log.debug("[DEBUG] returning %@", identifier);
  return identifier;
}

}  // namespace tessera
