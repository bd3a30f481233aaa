#include "skiff/service/ItemRecord.h"

namespace tessera {

namespace {

std::string versionOf(const StoredItem& item) {
  if (item.isFolder()) return "";
  if (item.uploaded) return item.contentHash.empty() ? "empty" : item.contentHash;
  // Content that only this device has is told apart as the file is.
  FileStamp stamp = item.stamp.value_or(FileStamp{});
  return "local-" + std::to_string(stamp.inode) + "-" + std::to_string(stamp.modifiedAt) + "-" +
         std::to_string(stamp.size);
}

std::string contentTypeOf(const StoredItem& item) {
  if (!item.contentType.empty()) return item.contentType;
  return item.isFolder() ? "inode/directory" : "application/octet-stream";
}

bool isCurrent(const StoredItem& item) {
  if (item.kind != ItemKind::Document) return true;
  return item.isLocal() && (!item.hasRecord() || item.localHash == item.contentHash);
}

}  // namespace

ItemRecord ItemRecord::dead(const ItemID& uuid) {
  ItemRecord record;
  record.item.uuid = uuid;
  record.isDead = true;
  return record;
}

void ItemRecord::encode(wire::Item::Builder builder) const {
  builder.setFileObjectId(item.uuid.toString());
  if (isDead) {
    builder.setIsDead(true);
    return;
  }
  if (parent) builder.setParentFileObjectId(parent->toString());
  builder.setFilename(item.name);
  builder.setContentType(contentTypeOf(item));
  builder.setVersionIdentifier(versionOf(item));
  builder.setDocumentSize(item.size);
  builder.setChildItemCount(item.children);
  builder.setCreated(item.createdAt);
  builder.setModified(item.modifiedAt);
  if (item.lastUsedAt) {
    builder.setHasLastUsed(true);
    builder.setLastUsed(*item.lastUsedAt);
  }
  if (item.favoriteRank) {
    builder.setHasFavoriteRank(true);
    builder.setFavoriteRank(*item.favoriteRank);
  }
  if (!item.tags.empty()) {
    auto tags = builder.initTags(static_cast<unsigned>(item.tags.size()));
    for (unsigned index = 0; index < tags.size(); ++index) tags.set(index, item.tags[index]);
  }
  builder.setIsFolder(item.isFolder());
  builder.setIsRoot(item.role == ItemRole::Root);
  builder.setParentIsRoot(parentIsRoot);
  builder.setIsDownloaded(item.kind != ItemKind::Document || item.isLocal());
  builder.setIsCurrent(isCurrent(item));
  builder.setIsUploaded(item.uploaded);
}

ItemRecord ItemDescriber::describe(StoredItem item) {
  ItemRecord record;
  if (item.parent != 0) {
    auto [found, isNew] = _folders.try_emplace(item.parent);
    if (isNew) {
      if (std::optional<StoredItem> folder = _items.find(item.parent)) {
        found->second = Folder{folder->uuid, folder->role == ItemRole::Root};
      }
    }
    if (found->second) {
      record.parent = found->second->uuid;
      record.parentIsRoot = found->second->isRoot;
    }
  }
  record.item = std::move(item);
  return record;
}

std::vector<ItemRecord> ItemDescriber::describe(std::vector<StoredItem> items) {
  std::vector<ItemRecord> records;
  records.reserve(items.size());
  for (StoredItem& item : items) records.push_back(describe(std::move(item)));
  return records;
}

}  // namespace tessera
