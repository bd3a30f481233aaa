#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "cloud/Record.h"

namespace tessera {

// One blob on its way up. Dropped without finish(), it leaves nothing behind.
// Threads: one at a time.
class AssetUpload {
 public:
  virtual ~AssetUpload() = default;
  virtual void write(std::span<const std::byte> bytes) = 0;
  // Ends the upload and names what was written. Not durable before
  // CloudAssets::commit of the result.
  virtual Asset finish() = 0;
};

// One blob on its way down. Threads: one at a time.
class AssetDownload {
 public:
  virtual ~AssetDownload() = default;
  // Fills the front of `buffer`; returns the number of bytes, 0 at the end.
  virtual std::size_t read(std::span<std::byte> buffer) = 0;
};

// The blobs behind asset fields, named by their hash: equal content is kept once.
//
// Threads: any. Several processes may use one store at once.
class CloudAssets {
 public:
  virtual ~CloudAssets() = default;

  [[nodiscard]] virtual std::unique_ptr<AssetUpload> upload() = 0;

  // Uploads bytes that are in memory, as upload() does but cheaper for many small ones.
  // What the store has already is not written again.
  virtual Asset put(std::span<const std::byte> bytes) {
    auto whole = upload();
    whole->write(bytes);
    return whole->finish();
  }

  // Makes finished uploads durable, all with few flushes. Only committed assets may
  // be named in records. Throws NoSuchAsset for one that was neither uploaded through
  // this object nor committed by anybody. After another failure, upload again.
  virtual void commit(const std::vector<Asset>& assets) = 0;

  // Starts at byte `offset`, so that a broken download can go on. Throws NoSuchAsset.
  // The reader checks the hash: the store hands out what it has.
  [[nodiscard]] virtual std::unique_ptr<AssetDownload> download(const Asset& asset,
                                                                std::uint64_t offset) = 0;
};

}  // namespace tessera
