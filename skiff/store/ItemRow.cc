#include "skiff/store/ItemRow.h"

#include <charconv>

namespace tessera {

namespace {

std::optional<FileStamp> readStamp(const Statement& row) {
  if (row.isNull(26)) return std::nullopt;
  return FileStamp{static_cast<std::uint64_t>(row.int64(25)),
                   static_cast<std::uint64_t>(row.int64(26)),
                   static_cast<std::uint64_t>(row.int64(27)), row.int64(28)};
}

}  // namespace

StoredItem readItem(const Statement& row) {
  StoredItem item;
  item.id = row.int64(0);
  item.seq = row.int64(1);
  item.uuid = ItemID::fromBytes(row.blob(2)).value_or(ItemID());
  item.parent = row.int64(3);
  item.role = static_cast<ItemRole>(row.int64(4));
  item.kind = static_cast<ItemKind>(row.int64(5));
  item.name = row.string(6);
  item.cloudName = row.string(7);
  item.container = row.int64(8);
  item.recordName = row.isNull(9) ? item.uuid.toString() : row.string(9);
  item.changeTag = row.string(10);
  item.contentHash = row.string(11);
  item.contentSize = static_cast<std::uint64_t>(row.int64(12));
  item.targetContainer = row.string(13);
  item.targetRecord = row.string(14);
  item.size = static_cast<std::uint64_t>(row.int64(15));
  item.createdAt = row.int64(16);
  item.modifiedAt = -row.int64(17);
  item.lastUsedAt = row.optionalInt64(18);
  item.favoriteRank = row.optionalInt64(19);
  item.contentType = row.string(20);
  item.tags = decodeTags(row.text(21));
  item.executable = row.int64(22) != 0;
  item.children = static_cast<std::uint64_t>(row.int64(23));
  item.state = static_cast<ContentState>(row.int64(24));
  item.stamp = readStamp(row);
  item.localHash = row.string(29);
  item.uploaded = row.int64(30) != 0;
  return item;
}

std::string foldedName(std::string_view name) {
  std::string folded(name);
  for (char& letter : folded) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return folded;
}

// Each tag as its length in bytes, a colon and the tag: a tag may hold any character.
std::string encodeTags(const std::vector<std::string>& tags) {
  std::string text;
  for (const std::string& tag : tags) text += std::to_string(tag.size()) + ":" + tag;
  return text;
}

std::vector<std::string> decodeTags(std::string_view text) {
  std::vector<std::string> tags;
  while (!text.empty()) {
    std::size_t length = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (error != std::errc() || text.empty() || text.size() - 1 < length) break;
    tags.emplace_back(text.substr(1, length));
    text.remove_prefix(length + 1);
  }
  return tags;
}

}  // namespace tessera
