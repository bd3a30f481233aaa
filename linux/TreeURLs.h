#pragma once

#include <string>

#include "home/Home.h"
#include "linux/PublishedContainers.h"
#include "linux/SkiffClient.h"
#include "platform/tessera/GVURLAdditions.h"

namespace tessera {

// What URLs mean in this home's tree. Only the two lookups that need the daemon's item store
// ask it, by calls that wait; the rest is decided from the path, a mark on the URL, or one
// look at the file.
//
// Threads: any but the loop's.
class TreeURLs final : public GVURLBackend {
 public:
  // Put on URLs that the daemon said have a document kept elsewhere behind them.
  static constexpr const char* kReferenceMark = "GVExternalDocumentReference";

  TreeURLs(SkiffClient& skiff, PublishedContainers& containers, const Home& home)
      : _skiff(skiff), _containers(containers), _tree(NSURL(home.tree().string()).path()) {}

  bool isInSyncedLocation(const NSURLPtr& url) override;
  bool isPromiseURL(const NSURLPtr& url) override;
  bool isExternalDocumentReference(const NSURLPtr& url) override;
  NSURLPtr resolveExternalDocumentReference(const NSURLPtr& url, NSErrorPtr* error) override;
  std::optional<std::string> containerIDIfIsDocumentsContainerURL(const NSURLPtr& url) override;
  NSURLPtr documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                       NSErrorPtr* error) override;

 private:
  SkiffClient& _skiff;
  PublishedContainers& _containers;
  const std::string _tree;
};

}  // namespace tessera
