#include "cloud/embedded/StagingArea.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "cloud/embedded/StorageError.h"
#include "cloud/embedded/UniqueIdentifier.h"

namespace tessera {

namespace fs = std::filesystem;

namespace {

FileDescriptor openFolder(const fs::path& folder) {
  return FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

StagingArea::StagingArea(fs::path staging) : _staging(std::move(staging)) {
  sweep();
}

StagingArea::~StagingArea() {
  std::error_code ignored;
  if (_made) fs::remove_all(_ownPath, ignored);
}

void StagingArea::sweep() const {
  // Nobody makes a sub-folder meanwhile: one that is not locked has lost its owner.
  FileDescriptor all = openFolder(_staging);
  if (!all.isOpen() || ::flock(all.get(), LOCK_EX) != 0) return;
  std::error_code error;
  for (fs::directory_iterator entry(_staging, error), end; !error && entry != end;
       entry.increment(error)) {
    FileDescriptor folder = openFolder(entry->path());
    if (folder.isOpen() && ::flock(folder.get(), LOCK_EX | LOCK_NB) == 0) {
      std::error_code ignored;
      fs::remove_all(entry->path(), ignored);
    }
  }
}

void StagingArea::makeOwnFolder() {
  std::lock_guard lock(_making);
  if (_made) return;
  if (::mkdir(_staging.c_str(), 0700) != 0 && errno != EEXIST) {
    throw cloudErrorFromErrno(errno, "Cannot create " + _staging.string());
  }
  FileDescriptor all = openFolder(_staging);
  if (!all.isOpen() || ::flock(all.get(), LOCK_EX) != 0) {
    throw cloudErrorFromErrno(errno, "Cannot lock " + _staging.string());
  }
  _ownPath = _staging / (std::to_string(::getpid()) + "-" + makeUniqueIdentifier());
  if (::mkdir(_ownPath.c_str(), 0700) != 0) {
    throw cloudErrorFromErrno(errno, "Cannot create " + _ownPath.string());
  }
  _own = openFolder(_ownPath);
  if (!_own.isOpen() || ::flock(_own.get(), LOCK_EX | LOCK_NB) != 0) {
    throw cloudErrorFromErrno(errno, "Cannot lock " + _ownPath.string());
  }
  _made = true;
}

StagingArea::File StagingArea::create() {
  if (!_made) makeOwnFolder();
  File file;
  file.name = std::to_string(++_lastNumber);
  file.descriptor = FileDescriptor(
      ::openat(_own.get(), file.name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file.descriptor.isOpen()) {
    throw cloudErrorFromErrno(errno, "Cannot create a file in " + _ownPath.string());
  }
  return file;
}

void StagingArea::remove(const std::string& name) noexcept {
  ::unlinkat(_own.get(), name.c_str(), 0);
}

}  // namespace tessera
