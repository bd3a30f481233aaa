#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "skiff/store/StoredItem.h"
#include "sqlite/Statement.h"

namespace tessera {

// The columns of `items` that readItem reads, in its order; to be put after SELECT.
inline constexpr const char* kItemColumns =
    "id, seq, uuid, parent, role, kind, name, cloudName, container, recordName, changeTag, "
    "contentHash, contentSize, targetContainer, targetRecord, size, created, recency, lastUsed, "
    "favoriteRank, contentType, tags, executable, children, state, device, inode, fileSize, "
    "fileModified, localHash, uploaded ";

[[nodiscard]] StoredItem readItem(const Statement& row);

// ASCII letters in lower case: the order by name does not tell them apart at first.
[[nodiscard]] std::string foldedName(std::string_view name);

[[nodiscard]] std::string encodeTags(const std::vector<std::string>& tags);
[[nodiscard]] std::vector<std::string> decodeTags(std::string_view text);

}  // namespace tessera
