#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

#include "cloud/CloudAssets.h"
#include "skiff/importer/SourceFacts.h"

namespace tessera {

// A file's content as an asset, uploaded but not committed yet.
struct ReadDocument {
  Asset content;
  SourceFacts facts;
};

// How reading a file ended: with a document, with the reason why there is none, or, when
// both are empty, because it was to stop.
struct ReadOutcome {
  std::optional<ReadDocument> document;
  std::string reason;
};

// Turns files of the source into assets.
//
// Invariant: an asset is what the file held at one moment, as far as its size and date tell:
// they were the same before and after it was read.
// Threads: one. Lifetime: must not outlive the assets.
class DocumentReader {
 public:
  // Called for every block, with the bytes of the file read until then.
  using BytesRead = std::function<void(std::uint64_t bytes)>;

  DocumentReader(CloudAssets& assets, std::stop_token stop, BytesRead bytesRead);

  // Reads the file `name` in the folder open as `folder`. `known` is content that the cloud
  // has committed already: a file that holds it is not uploaded again. Throws CloudError.
  [[nodiscard]] ReadOutcome read(int folder, const std::string& name,
                                 const std::optional<Asset>& known);

 private:
  using Sink = std::function<void(std::span<const std::byte>)>;

  std::optional<Asset> attempt(int file, const SourceFacts& facts,
                               const std::optional<Asset>& known);
  std::optional<Asset> attemptSmall(int file, const SourceFacts& facts);
  std::optional<Asset> attemptLarge(int file, const SourceFacts& facts);
  bool holds(int file, const SourceFacts& facts, const Asset& known);
  bool readSteadily(int file, const SourceFacts& facts, const Sink& sink);
  std::size_t readBlock(int file, std::uint64_t offset);

  CloudAssets& _assets;
  const std::stop_token _stop;
  const BytesRead _bytesRead;
  std::vector<std::byte> _block;
};

}  // namespace tessera
