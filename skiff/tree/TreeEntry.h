#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "skiff/store/StoredItem.h"
#include "skiff/tree/OpenFile.h"

namespace tessera {

// What stands at a name in a folder of the tree; links are not followed.
struct TreeEntry {
  enum class Type { File, Folder, Link, Other };
  Type type = Type::Other;
  FileStamp stamp;
  std::int64_t createdAt = 0;  // nanoseconds since the epoch; modification where unknown
  bool executable = false;

  // nullopt when there is nothing. Throws std::system_error.
  [[nodiscard]] static std::optional<TreeEntry> at(int folder, const std::string& name);
  [[nodiscard]] static TreeEntry of(int fd);
};

// Promises: empty files of mode 0600 that carry the document's date. Making one that is there
// and removing one that is not are no errors.
void placePromise(int folder, const ItemID& uuid, std::int64_t modifiedAt);
void dropPromise(int folder, const ItemID& uuid);

// What a document's file carries of its record: the executable bit and the date.
void setModeAndDate(int file, bool executable, std::int64_t modifiedAt);

// The hash of a file's content, in blocks. Throws std::system_error.
[[nodiscard]] std::string hashOfFile(int fd);

[[noreturn]] void throwErrno(const std::string& doing);

}  // namespace tessera
