#pragma once

#include <sys/types.h>

#include <compare>
#include <cstdint>
#include <filesystem>
#include <optional>

namespace tessera {

// Names a file or folder of this machine whatever its path.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;

  auto operator<=>(const FileIdentity&) const = default;

  // nullopt when there is nothing at `path`. Follows symbolic links.
  [[nodiscard]] static std::optional<FileIdentity> of(const std::filesystem::path& path);
};

// What the file system knows about an open file or folder. Dates are nanoseconds since the
// epoch; those outside of what 64 bits hold (1677 to 2262) become the nearest one.
struct SourceFacts {
  FileIdentity identity;
  mode_t mode = 0;
  std::uint64_t size = 0;      // bytes
  std::int64_t createdAt = 0;  // modifiedAt where the file system keeps no birth time
  std::int64_t modifiedAt = 0;

  [[nodiscard]] bool isRegularFile() const;
  // Whether anybody may execute it.
  [[nodiscard]] bool isExecutable() const;

  // Throws std::system_error.
  [[nodiscard]] static SourceFacts of(int descriptor);
};

}  // namespace tessera
