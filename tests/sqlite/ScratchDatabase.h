#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tessera {

// A database file in a folder of its own that goes away with this object.
class ScratchDatabase {
 public:
  ScratchDatabase() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sqlite-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    _folder = pattern;
  }
  ~ScratchDatabase() { std::filesystem::remove_all(_folder); }
  ScratchDatabase(const ScratchDatabase&) = delete;
  ScratchDatabase& operator=(const ScratchDatabase&) = delete;

  [[nodiscard]] std::filesystem::path folder() const { return _folder; }
  [[nodiscard]] std::filesystem::path file() const { return _folder / "test.db"; }

 private:
  std::filesystem::path _folder;
};

}  // namespace tessera
