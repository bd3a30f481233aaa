#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "cloud/CloudAssets.h"
#include "cloud/embedded/FileDescriptor.h"
#include "cloud/embedded/StagingArea.h"

namespace tessera {

// The assets of an embedded cloud: files named by their hash, blobs/ab/<sha256>.
//
// An upload is written into the staging area; commit() flushes many of them at once
// and then renames them. With one flush a file, ten thousand small ones would take
// as many disk writes one after the other.
//
// Invariant: a file below blobs/ is whole, is what its name says, and its content is
// durable. Its name need not be durable yet: another process may have renamed it just
// now. commit() therefore flushes the names of blobs that it finds in place, too.
// Threads: any. Lifetime: uploads keep it alive.
class BlobStore final : public CloudAssets, public std::enable_shared_from_this<BlobStore> {
 public:
  BlobStore(std::filesystem::path blobs, std::filesystem::path staging);

  [[nodiscard]] std::unique_ptr<AssetUpload> upload() override;
  Asset put(std::span<const std::byte> bytes) override;
  void commit(const std::vector<Asset>& assets) override;
  [[nodiscard]] std::unique_ptr<AssetDownload> download(const Asset& asset,
                                                        std::uint64_t offset) override;

  // Whether `asset` is a committed blob. Takes any text for a hash.
  [[nodiscard]] bool contains(const Asset& asset) const;

  // For BlobUpload.
  [[nodiscard]] StagingArea& staging() { return _staging; }
  [[nodiscard]] std::uint64_t generation();
  // Takes over a complete staging file, or removes it when its content is there already
  // or was lost.
  void adopt(const std::string& file, const Asset& asset, std::uint64_t generation);
  static void writeAll(int descriptor, std::span<const std::byte> bytes);

 private:
  // A complete file in the staging area.
  struct Staged {
    std::string file;
    std::uint64_t size = 0;
  };
  struct Move {
    std::string file;
    std::string digest;
  };

  std::vector<Move> movesFor(std::vector<Asset> assets, std::set<std::string>& shards);
  void flushContent(const std::vector<Move>& moves);
  void moveIntoPlace(const Move& move);
  void flushNames(const std::set<std::string>& shards);
  void forgetStaged();

  const std::filesystem::path _path;
  FileDescriptor _blobs;  // constant after construction
  StagingArea _staging;

  // Held for a whole commit: one flush serves all that waits, and a failed one is seen
  // by exactly one of them (see forgetStaged).
  std::mutex _committing;

  std::mutex _lock;
  std::unordered_map<std::string, Staged> _staged;  // by hash; guarded by _lock
  std::uint64_t _generation = 0;                    // guarded by _lock
};

}  // namespace tessera
