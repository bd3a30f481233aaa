#include "skiff/feed/RecordItem.h"

#include <algorithm>

namespace tessera {

namespace {

// Dates come from anywhere: one that the file system could not hold anyway is drawn near.
std::int64_t soundDate(std::int64_t date) {
  constexpr std::int64_t kFarthest = 9'000'000'000'000'000'000;  // the year 2255
  return std::clamp(date, -kFarthest, kFarthest);
}

}  // namespace

ItemKind kindOf(const DocumentRecord& record) {
  switch (record.kind) {
    case DocumentKind::Folder:
      return ItemKind::Folder;
    case DocumentKind::Document:
      return ItemKind::Document;
    case DocumentKind::Reference:
      return ItemKind::Reference;
  }
  return ItemKind::Document;
}

void takeAttributes(StoredItem& item, const DocumentRecord& record) {
  item.changeTag = record.changeTag;
  item.createdAt = soundDate(record.createdAt);
  if (item.uploaded) item.modifiedAt = soundDate(record.modifiedAt);
  item.lastUsedAt = record.lastUsedAt;
  item.favoriteRank = record.favoriteRank;
  item.tags = record.tags;
  item.executable = record.executable;
  item.contentType = record.kind == DocumentKind::Folder ? "inode/directory" : record.contentType;
  item.targetContainer = record.target ? record.target->zone.container : "";
  item.targetRecord = record.target ? record.target->name : "";
}

void takeContent(StoredItem& item, const DocumentRecord& record) {
  item.contentHash = record.content ? record.content->sha256 : "";
  item.contentSize = record.content ? record.content->size : 0;
  if (item.uploaded) item.size = item.contentSize;
}

}  // namespace tessera
