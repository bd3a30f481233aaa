#include "platform/tessera/GVURLAdditions.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {
namespace {

constexpr const char* kPhysicalMark = "GVPhysicalProperty";

GVURLBackend& backend() {
  return InstalledBackend<GVURLBackend>::get();
}

}  // namespace

bool gv_isInSyncedLocation(const NSURLPtr& url) {
  return url && backend().isInSyncedLocation(url);
}

bool gv_isPromiseURL(const NSURLPtr& url) {
  return url && backend().isPromiseURL(url);
}

bool gv_isExternalDocumentReference(const NSURLPtr& url) {
  return url && backend().isExternalDocumentReference(url);
}

NSURLPtr gv_URLByResolvingExternalDocumentReferenceWithError(const NSURLPtr& url,
                                                             NSErrorPtr* error) {
  return backend().resolveExternalDocumentReference(url, error);
}

std::optional<std::string> gv_containerIDIfIsDocumentsContainerURL(const NSURLPtr& url) {
  if (!url) return std::nullopt;
  return backend().containerIDIfIsDocumentsContainerURL(url);
}

NSURLPtr gv_documentURLFromFileObjectID(const GVFileObjectID& fileObjectID, NSErrorPtr* error) {
  return backend().documentURLFromFileObjectID(fileObjectID, error);
}

void gv_addPhysicalProperty(const NSURLPtr& url) {
  if (url) url->setResourceMark(kPhysicalMark);
}

bool gv_hasPhysicalProperty(const NSURLPtr& url) {
  return url && url->hasResourceMark(kPhysicalMark);
}

}  // namespace tessera
