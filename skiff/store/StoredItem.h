#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "skiff/store/ItemID.h"

namespace tessera {

// Numbers are stored: do not change them.
enum class ItemKind : std::uint8_t { Folder = 0, Document = 1, Reference = 2 };
enum class ItemRole : std::uint8_t { Ordinary = 0, ContainerFolder = 1, Root = 2 };

// Where a document's content is.
enum class ContentState : std::uint8_t {
  Placeholder = 0,  // not here; a promise stands for it
  Hydrating = 1,    // on its way: after a crash it may be here or not
  Local = 2,        // here
};

// What tells a file from the one that was noted. Folders are known by device and inode alone.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;       // bytes
  std::int64_t modifiedAt = 0;  // nanoseconds since the epoch

  bool operator==(const FileStamp&) const = default;
  [[nodiscard]] bool isSameFolder(const FileStamp& other) const {
    return device == other.device && inode == other.inode;
  }
};

// One item as the store keeps it. Dates are nanoseconds since the epoch.
struct StoredItem {
  std::int64_t id = 0;   // of the row; never used again for another item
  std::int64_t seq = 0;  // of the latest change
  ItemID uuid;
  std::int64_t parent = 0;  // row of the folder; 0 for the root
  ItemRole role = ItemRole::Ordinary;
  ItemKind kind = ItemKind::Document;
  std::string name;       // in the tree
  std::string cloudName;  // in the cloud; differs from name when another item has that name
  std::int64_t container = 0;

  // Cloud side. An item that the cloud never had has no change tag.
  std::string recordName;
  std::string changeTag;
  std::string contentHash;        // of the cloud's latest content; SHA-256, hexadecimal
  std::uint64_t contentSize = 0;  // of the cloud's latest content, bytes
  std::string targetContainer;    // references: the document they stand for
  std::string targetRecord;

  // What clients see.
  std::uint64_t size = 0;  // bytes
  std::int64_t createdAt = 0;
  std::int64_t modifiedAt = 0;
  std::optional<std::int64_t> lastUsedAt;
  std::optional<std::int64_t> favoriteRank;
  std::string contentType;
  std::vector<std::string> tags;
  bool executable = false;
  std::uint64_t children = 0;  // kept by the store

  // Device side.
  ContentState state = ContentState::Placeholder;
  // Local: the file as it was noted. Placeholder: an old file that is still to be removed.
  // Folders: the folder itself.
  std::optional<FileStamp> stamp;
  std::string localHash;  // of the content noted in `stamp`, when it came from the cloud
  bool uploaded = true;   // the cloud has what is here

  [[nodiscard]] bool isFolder() const { return kind == ItemKind::Folder; }
  [[nodiscard]] bool isLocal() const { return state == ContentState::Local; }
  [[nodiscard]] bool hasRecord() const { return !changeTag.empty(); }
  [[nodiscard]] const std::string& wantedName() const {
    return cloudName.empty() ? name : cloudName;
  }
};

// The end of an item, or its leaving a folder.
struct Departure {
  std::int64_t seq = 0;
  std::int64_t id = 0;
  ItemID uuid;
  std::int64_t parent = 0;  // the folder it was in
  bool dead = true;         // false: it lives on in another folder
};

}  // namespace tessera
