#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "skiff/store/ContentHash.h"
#include "skiff/store/StoredItem.h"
#include "skiff/tree/OpenFile.h"

namespace tessera {

// Content on its way into the tree: a file without a name, on the tree's own file system, that
// is gone when this object is, unless it was published.
//
// Threads: one at a time.
class StagedFile {
 public:
  // `folder` only says which file system. Throws std::system_error, and SkiffError
  // (NotSupported) on a file system without unnamed files.
  explicit StagedFile(int folder);

  void write(std::span<const std::byte> bytes);
  [[nodiscard]] std::uint64_t size() const { return _size; }
  // The hash of all that was written; nothing may be written afterwards.
  [[nodiscard]] std::string finishHash() { return _hash.finishHex(); }

  // Sets mode and date and makes the content durable. Returns how the file looks now.
  FileStamp seal(bool executable, std::int64_t modifiedAt);

  enum class Published { Done, NameTaken };
  // Gives the file its name. Doing it twice is fine. The folder is made durable too.
  Published publish(int folder, const std::string& name);

 private:
  OpenFile _file;
  ContentHash _hash;
  std::uint64_t _size = 0;
};

}  // namespace tessera
