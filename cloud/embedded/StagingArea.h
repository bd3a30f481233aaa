#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

#include "cloud/embedded/FileDescriptor.h"

namespace tessera {

// Where this process keeps files that are not blobs yet: a sub-folder of its own,
// made at the first file and locked for as long as this object lives. The lock is
// how others tell the files of a living process from those of a dead one.
//
// Threads: any.
class StagingArea {
 public:
  // Removes what dead processes left in `staging`; failing to is no error, it only
  // costs space. Writes nothing, so that a cloud on a full disk can still be opened.
  explicit StagingArea(std::filesystem::path staging);
  // Removes the sub-folder and what is still in it.
  ~StagingArea();
  StagingArea(const StagingArea&) = delete;
  StagingArea& operator=(const StagingArea&) = delete;

  struct File {
    std::string name;  // in the sub-folder
    FileDescriptor descriptor;
  };
  // A new, empty file to write into. Throws CloudError.
  [[nodiscard]] File create();
  void remove(const std::string& name) noexcept;

  // The sub-folder, for calls that name files in it. Needs a create() before.
  [[nodiscard]] int directory() const noexcept { return _own.get(); }

 private:
  void sweep() const;
  void makeOwnFolder();

  const std::filesystem::path _staging;
  std::atomic<std::uint64_t> _lastNumber{0};
  std::atomic<bool> _made{false};  // _own and _ownPath are constant once it is set
  std::mutex _making;
  FileDescriptor _own;
  std::filesystem::path _ownPath;
};

}  // namespace tessera
