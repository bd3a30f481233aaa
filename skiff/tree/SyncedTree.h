#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "skiff/tree/OpenFile.h"

namespace tessera {

// The folder that holds the documents, opened once. Everything below it is reached from its
// descriptor, never through a symbolic link and never out of it, whatever applications do to
// the folders on the way at the same time.
//
// Threads: any.
class SyncedTree {
 public:
  // Throws std::system_error when the folder cannot be opened.
  explicit SyncedTree(std::filesystem::path root);

  [[nodiscard]] const std::filesystem::path& root() const { return _root; }
  [[nodiscard]] int rootFolder() const { return _folder.get(); }

  // `relative` is below the root; empty means the root. Throws std::system_error: ENOENT,
  // ENOTDIR, ELOOP where a link is in the way.
  [[nodiscard]] OpenFile openFolder(std::string_view relative) const;
  // The same, and makes the folders that are missing.
  [[nodiscard]] OpenFile makeFolders(std::string_view relative) const;

  // The path below the root of an absolute path, decided by its text alone; nullopt when it
  // is elsewhere.
  [[nodiscard]] std::optional<std::string> relativePath(std::string_view absolute) const;
  [[nodiscard]] std::string absolutePath(std::string_view relative) const;

 private:
  const std::filesystem::path _root;
  const OpenFile _folder;
};

// openat2 that stays beneath `folder` and follows no links; -1 and errno on failure.
[[nodiscard]] int openBeneath(int folder, const std::string& path, int flags);

}  // namespace tessera
