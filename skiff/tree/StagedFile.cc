#include "skiff/tree/StagedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "skiff/store/SkiffError.h"
#include "skiff/tree/TreeEntry.h"

namespace tessera {

StagedFile::StagedFile(int folder)
    : _file(::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600)) {
  if (_file) return;
  if (errno == EOPNOTSUPP || errno == EISDIR) {
    throw SkiffError(SkiffError::Code::NotSupported,
                     "The file system of the tree has no unnamed files (O_TMPFILE). Move the "
                     "home to ext4, xfs, btrfs or tmpfs.");
  }
  throwErrno("make room for a document");
}

void StagedFile::write(std::span<const std::byte> bytes) {
  _hash.add(bytes);
  while (!bytes.empty()) {
    ssize_t length = ::write(_file.get(), bytes.data(), bytes.size());
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) throwErrno("write a document");
    _size += static_cast<std::uint64_t>(length);
    bytes = bytes.subspan(static_cast<std::size_t>(length));
  }
}

FileStamp StagedFile::seal(bool executable, std::int64_t modifiedAt) {
  setModeAndDate(_file.get(), executable, modifiedAt);
  if (::fsync(_file.get()) != 0) throwErrno("make a document durable");
  return TreeEntry::of(_file.get()).stamp;
}

StagedFile::Published StagedFile::publish(int folder, const std::string& name) {
  std::string source = "/proc/self/fd/" + std::to_string(_file.get());
  if (::linkat(AT_FDCWD, source.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
    if (errno != EEXIST) throwErrno("name the document " + name);
    std::optional<TreeEntry> there = TreeEntry::at(folder, name);
    if (!there || !there->stamp.isSameFolder(TreeEntry::of(_file.get()).stamp)) {
      return Published::NameTaken;
    }
  }
  if (::fsync(folder) != 0) throwErrno("make a folder durable");
  return Published::Done;
}

}  // namespace tessera
