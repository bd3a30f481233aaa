#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "cloud/CloudAssets.h"
#include "cloud/embedded/Sha256.h"
#include "cloud/embedded/StagingArea.h"

namespace tessera {

class BlobStore;

// One blob on its way into a BlobStore: a staging file, hashed while it is written.
// Threads: one at a time. Lifetime: keeps its store alive.
class BlobUpload final : public AssetUpload {
 public:
  explicit BlobUpload(std::shared_ptr<BlobStore> store);
  ~BlobUpload() override;
  BlobUpload(const BlobUpload&) = delete;
  BlobUpload& operator=(const BlobUpload&) = delete;

  void write(std::span<const std::byte> bytes) override;
  Asset finish() override;

 private:
  const std::shared_ptr<BlobStore> _store;
  const std::uint64_t _generation;
  StagingArea::File _file;
  Sha256 _hash;
  std::uint64_t _size = 0;
  bool _finished = false;
};

}  // namespace tessera
