#pragma once

#include <optional>
#include <string>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVFileObjectID.h"

namespace tessera {

// What the client library adds to URLs. Behind it: InstalledBackend<GVURLBackend>.
class GVURLBackend {
 public:
  virtual ~GVURLBackend() = default;
  virtual bool isInSyncedLocation(const NSURLPtr& url) = 0;
  virtual bool isPromiseURL(const NSURLPtr& url) = 0;
  virtual bool isExternalDocumentReference(const NSURLPtr& url) = 0;
  virtual NSURLPtr resolveExternalDocumentReference(const NSURLPtr& url, NSErrorPtr* error) = 0;
  virtual std::optional<std::string> containerIDIfIsDocumentsContainerURL(const NSURLPtr& url) = 0;
  virtual NSURLPtr documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                               NSErrorPtr* error) = 0;
};

// gv_isInSyncedLocation: the URL lies inside the tree that the daemon keeps in step with
// the cloud, by its path. False for nil.
[[nodiscard]] bool gv_isInSyncedLocation(const NSURLPtr& url);
// gv_isPromiseURL: the URL names the hidden file that stands for a document whose content
// is not here, not the document itself.
[[nodiscard]] bool gv_isPromiseURL(const NSURLPtr& url);
// gv_isExternalDocumentReference: the file at the URL stands for a document kept
// elsewhere. False for nil.
[[nodiscard]] bool gv_isExternalDocumentReference(const NSURLPtr& url);
// gv_URLByResolvingExternalDocumentReferenceWithError: the reference's target, or nil
// with an error.
[[nodiscard]] NSURLPtr gv_URLByResolvingExternalDocumentReferenceWithError(const NSURLPtr& url,
                                                                           NSErrorPtr* error);
// gv_containerIDIfIsDocumentsContainerURL: the container whose documents folder is at the
// URL.
[[nodiscard]] std::optional<std::string> gv_containerIDIfIsDocumentsContainerURL(
    const NSURLPtr& url);
// gv_documentURLFromFileObjectID:error: where the item is in the tree; nil with an error.
[[nodiscard]] NSURLPtr gv_documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                                      NSErrorPtr* error);

// gv_addPhysicalProperty: marks the URL object, so that file operations through it reach
// whatever stands for the item on disk rather than the item it names.
void gv_addPhysicalProperty(const NSURLPtr& url);
[[nodiscard]] bool gv_hasPhysicalProperty(const NSURLPtr& url);

}  // namespace tessera
