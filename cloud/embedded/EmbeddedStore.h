#pragma once

#include <memory>

#include "cloud/embedded/BlobStore.h"
#include "cloud/embedded/CloudFolder.h"
#include "cloud/embedded/Connections.h"
#include "cloud/embedded/WakeFile.h"

namespace tessera {

// What the service of an embedded cloud and everything it hands out have in common,
// kept alive by whichever of them lives longest.
// Threads: any, as its parts.
struct EmbeddedStore {
  explicit EmbeddedStore(CloudFolder cloud)
      : folder(std::move(cloud)),
        connections(folder.database()),
        wake(folder.wake()),
        blobs(std::make_shared<BlobStore>(folder.blobs(), folder.staging())) {}

  CloudFolder folder;
  Connections connections;
  WakeFile wake;
  std::shared_ptr<BlobStore> blobs;
};

}  // namespace tessera
