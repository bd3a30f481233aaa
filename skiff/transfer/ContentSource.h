#pragma once

#include <memory>

#include "cloud/CloudAssets.h"
#include "skiff/store/StoredItem.h"

namespace tessera {

// Where transfers get content from. What fails is thrown: CloudError, or SkiffError
// (SignedOut) while nobody is signed in.
// Threads: any.
class ContentSource {
 public:
  virtual ~ContentSource() = default;
  [[nodiscard]] virtual std::unique_ptr<AssetDownload> open(const Asset& asset) = 0;
  // Brings the latest that the cloud has of the item's record into the store and the tree.
  virtual void refresh(const StoredItem& item) = 0;
};

}  // namespace tessera
