#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVFileObjectID.h"

namespace tessera {

class GVContainer;
class GVQueryItem;
using GVQueryItemPtr = std::shared_ptr<const GVQueryItem>;
using GVQueryItems = std::vector<GVQueryItemPtr>;

// What the daemon tells of an item, as plain values.
struct GVItemFields {
  explicit GVItemFields(const GVFileObjectID& identifier) : fileObjectID(identifier) {}

  GVFileObjectID fileObjectID;
  std::optional<GVFileObjectID> parentFileObjectID;
  bool isRoot = false;  // the default container's documents folder
  bool parentIsRoot = false;
  bool isFolder = false;
  bool isDead = false;  // the item is gone; only the identifier means anything
  bool isDownloaded = false;
  bool isMostRecentVersionDownloaded = false;
  bool isUploaded = true;
  bool isTrashed = false;
  bool isShared = false;
  std::string filename;
  std::string contentType;
  std::optional<std::uint64_t> documentSize;  // bytes
  std::optional<std::uint64_t> childItemCount;
  std::optional<NSDate> creationDate;
  std::optional<NSDate> contentModificationDate;
  std::optional<NSDate> lastUsedDate;
  std::optional<std::int64_t> favoriteRank;
  std::vector<std::string> tagNames;
  std::string versionIdentifier;
};

// The client library's record of one item. It answers the platform's item protocol itself,
// so the extension hands it on as it is.
//
// Threads: immutable.
class GVQueryItem final : public NSFileProviderItem {
 public:
  // Where records come from; the client library installs it
  // (InstalledBackend<GVQueryItem::Backend>).
  class Backend {
   public:
    virtual ~Backend() = default;
    virtual GVQueryItemPtr containerItem(const std::shared_ptr<const GVContainer>& container,
                                         bool forceScan) = 0;
    virtual GVQueryItemPtr itemAtURL(const NSURLPtr& url, bool fakeFSEvent, NSErrorPtr* error) = 0;
  };

  explicit GVQueryItem(GVItemFields fields) : _fields(std::move(fields)) {}

  // containerItemForContainer:forceScan: — the record of a container's documents folder; nil
  // (without an error) for none, and when it cannot be made.
  [[nodiscard]] static GVQueryItemPtr containerItemForContainer(
      const std::shared_ptr<const GVContainer>& container, bool forceScan);
  // askDaemonQueryItemForURL:andFakeFSEvent:error: — asks the daemon and waits. With the
  // second argument the daemon scans the URL first, as if the file system had just reported
  // a change there. nil with an error on failure.
  [[nodiscard]] static GVQueryItemPtr askDaemonQueryItemForURL(const NSURLPtr& url,
                                                               bool andFakeFSEvent,
                                                               NSErrorPtr* error);

  [[nodiscard]] const GVItemFields& fields() const noexcept { return _fields; }
  [[nodiscard]] bool isDead() const noexcept { return _fields.isDead; }
  [[nodiscard]] const GVFileObjectID& fileObjectID() const noexcept { return _fields.fileObjectID; }
  [[nodiscard]] bool isFolder() const noexcept { return _fields.isFolder; }

  // The reserved root identifier for the default container's documents folder, the string
  // form of the file object identifier for everything else. Parents likewise; the root is
  // its own parent.
  [[nodiscard]] NSFileProviderItemIdentifier itemIdentifier() const override;
  [[nodiscard]] NSFileProviderItemIdentifier parentItemIdentifier() const override;
  [[nodiscard]] const std::string& filename() const override { return _fields.filename; }
  [[nodiscard]] const std::string& contentType() const override { return _fields.contentType; }
  [[nodiscard]] std::optional<std::uint64_t> documentSize() const override {
    return _fields.documentSize;
  }
  [[nodiscard]] std::optional<std::uint64_t> childItemCount() const override {
    return _fields.childItemCount;
  }
  [[nodiscard]] std::optional<NSDate> creationDate() const override { return _fields.creationDate; }
  [[nodiscard]] std::optional<NSDate> contentModificationDate() const override {
    return _fields.contentModificationDate;
  }
  [[nodiscard]] std::optional<NSDate> lastUsedDate() const override { return _fields.lastUsedDate; }
  [[nodiscard]] std::optional<std::int64_t> favoriteRank() const override {
    return _fields.favoriteRank;
  }
  [[nodiscard]] const std::vector<std::string>& tagNames() const override {
    return _fields.tagNames;
  }
  [[nodiscard]] const std::string& versionIdentifier() const override {
    return _fields.versionIdentifier;
  }
  [[nodiscard]] bool isDownloaded() const override { return _fields.isDownloaded; }
  [[nodiscard]] bool isMostRecentVersionDownloaded() const override {
    return _fields.isMostRecentVersionDownloaded;
  }
  [[nodiscard]] bool isUploaded() const override { return _fields.isUploaded; }
  [[nodiscard]] bool isTrashed() const override { return _fields.isTrashed; }
  [[nodiscard]] bool isShared() const override { return _fields.isShared; }

  void describe(TextSink& sink) const override;

 private:
  const GVItemFields _fields;
};

}  // namespace tessera
