#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "skiff/importer/SourceFacts.h"

namespace tessera {

struct SourceEntry {
  enum class Kind : std::uint8_t { Folder, File, SymbolicLink, Socket, Fifo, Device, Unknown };

  std::string name;  // bytes as the file system has them
  Kind kind = Kind::Unknown;
};

// A folder of the source, open for reading.
//
// Everything below the top is opened by name within its open parent and never through a
// symbolic link, so that nobody can lead the import elsewhere while it runs.
// Threads: one at a time. Methods throw std::system_error.
class SourceFolder {
 public:
  // Opens the top; symbolic links in `path` are followed, a person wrote it.
  explicit SourceFolder(const std::filesystem::path& path);
  // Opens the folder `name` in the folder open as `parent`.
  SourceFolder(int parent, const std::string& name);
  SourceFolder(SourceFolder&& other) noexcept;
  SourceFolder& operator=(SourceFolder&& other) noexcept;
  ~SourceFolder();

  [[nodiscard]] int descriptor() const noexcept { return _descriptor; }
  [[nodiscard]] bool isOpen() const noexcept { return _descriptor >= 0; }
  void close() noexcept;

  [[nodiscard]] SourceFacts facts() const { return SourceFacts::of(_descriptor); }

  struct Listing {
    std::vector<SourceEntry> entries;  // sorted by name, byte by byte; without . and ..
    int error = 0;                     // errno when it broke off: there may be more entries
  };
  // Called once for each opening.
  [[nodiscard]] Listing list() const;

 private:
  int _descriptor;
};

}  // namespace tessera
