#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/NSObject.h"

namespace tessera {

// The platform's opaque name of an item. See NSFileProviderIdentifiers.h for the
// reserved ones.
using NSFileProviderItemIdentifier = std::string;

using NSDate = std::chrono::sys_time<std::chrono::nanoseconds>;

// What the platform wants to know of an item. Threads: immutable.
class NSFileProviderItem : public NSObject {
 public:
  [[nodiscard]] virtual NSFileProviderItemIdentifier itemIdentifier() const = 0;
  [[nodiscard]] virtual NSFileProviderItemIdentifier parentItemIdentifier() const = 0;
  [[nodiscard]] virtual const std::string& filename() const = 0;
  // MIME type; "inode/directory" for folders.
  [[nodiscard]] virtual const std::string& contentType() const = 0;
  // Bytes; none for folders.
  [[nodiscard]] virtual std::optional<std::uint64_t> documentSize() const = 0;
  // Entries of a folder; none for documents.
  [[nodiscard]] virtual std::optional<std::uint64_t> childItemCount() const = 0;
  [[nodiscard]] virtual std::optional<NSDate> creationDate() const = 0;
  [[nodiscard]] virtual std::optional<NSDate> contentModificationDate() const = 0;
  [[nodiscard]] virtual std::optional<NSDate> lastUsedDate() const = 0;
  [[nodiscard]] virtual std::optional<std::int64_t> favoriteRank() const = 0;
  [[nodiscard]] virtual const std::vector<std::string>& tagNames() const = 0;
  // Changes with every change of the content; empty for folders.
  [[nodiscard]] virtual const std::string& versionIdentifier() const = 0;
  [[nodiscard]] virtual bool isDownloaded() const = 0;
  [[nodiscard]] virtual bool isMostRecentVersionDownloaded() const = 0;
  [[nodiscard]] virtual bool isUploaded() const = 0;
  [[nodiscard]] virtual bool isTrashed() const = 0;
  [[nodiscard]] virtual bool isShared() const = 0;
};

using NSFileProviderItemPtr = std::shared_ptr<const NSFileProviderItem>;
using NSFileProviderItems = std::vector<NSFileProviderItemPtr>;

}  // namespace tessera
