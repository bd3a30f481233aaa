#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace tessera {

// A file that exists, in a folder of its own that goes away with this object.
class ScratchFile {
 public:
  ScratchFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "content-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    _folder = pattern;
    std::ofstream(path()) << "content";
  }
  ~ScratchFile() { std::filesystem::remove_all(_folder); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  [[nodiscard]] std::string path() const { return (_folder / "document").string(); }

 private:
  std::filesystem::path _folder;
};

}  // namespace tessera
