#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVFileObjectID.h"

namespace tessera {

class GVContainer;
using GVContainerPtr = std::shared_ptr<const GVContainer>;
using GVContainersByID = std::map<std::string, GVContainerPtr>;

inline constexpr const char* GVUbiquitousDefaultContainerID = "tessera.documents.default";
inline constexpr const char* GVUbiquitousDocumentsContainerID = "tessera.documents.user-documents";
inline constexpr const char* GVUbiquitousDesktopContainerID = "tessera.documents.user-desktop";

// Posted on the default notification centre when the list of containers changes, once it
// has been asked for.
inline constexpr const char* GVContainerListDidChangeNotification =
    "GVContainerListDidChangeNotification";

// A named set of documents, kept in a folder of its own. Threads: immutable.
class GVContainer {
 public:
  // InstalledBackend<GVContainer::Backend>
  class Backend {
   public:
    virtual ~Backend() = default;
    virtual GVContainersByID allContainersByContainerID() = 0;
  };

  GVContainer(std::string containerID, std::string displayName, NSURLPtr documentsURL,
              const GVFileObjectID& documentsFolderID)
      : _containerID(std::move(containerID)),
        _displayName(std::move(displayName)),
        _documentsURL(std::move(documentsURL)),
        _documentsFolderID(documentsFolderID) {}

  // allContainersByContainerID — empty when there is nothing to know them from
  [[nodiscard]] static GVContainersByID allContainersByContainerID();
  // allContainers — the same as a list, in the order of the identifiers
  [[nodiscard]] static std::vector<GVContainerPtr> allContainers();

  [[nodiscard]] const std::string& containerID() const noexcept { return _containerID; }
  [[nodiscard]] const std::string& displayName() const noexcept { return _displayName; }
  // The folder that holds the container's documents; nil when it has none.
  [[nodiscard]] const NSURLPtr& documentsURL() const noexcept { return _documentsURL; }
  [[nodiscard]] const GVFileObjectID& documentsFolderID() const noexcept {
    return _documentsFolderID;
  }

 private:
  const std::string _containerID;
  const std::string _displayName;
  const NSURLPtr _documentsURL;
  const GVFileObjectID _documentsFolderID;
};

}  // namespace tessera
