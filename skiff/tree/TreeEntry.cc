#include "skiff/tree/TreeEntry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <memory>
#include <system_error>

#include "skiff/store/ContentHash.h"
#include "skiff/store/PromiseName.h"

namespace tessera {

namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::int64_t nanoseconds(const statx_timestamp& time) {
  return time.tv_sec * kNanosecondsPerSecond + time.tv_nsec;
}

TreeEntry describe(const struct statx& status) {
  TreeEntry entry;
  switch (status.stx_mode & S_IFMT) {
    case S_IFREG:
      entry.type = TreeEntry::Type::File;
      break;
    case S_IFDIR:
      entry.type = TreeEntry::Type::Folder;
      break;
    case S_IFLNK:
      entry.type = TreeEntry::Type::Link;
      break;
    default:
      entry.type = TreeEntry::Type::Other;
  }
  entry.stamp = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino,
                 status.stx_size, nanoseconds(status.stx_mtime)};
  entry.createdAt =
      (status.stx_mask & STATX_BTIME) != 0 ? nanoseconds(status.stx_btime) : entry.stamp.modifiedAt;
  entry.executable = (status.stx_mode & S_IXUSR) != 0;
  return entry;
}

void setDate(int file, std::int64_t modifiedAt) {
  // The part below a second is never negative, also before 1970.
  std::int64_t rest =
      (modifiedAt % kNanosecondsPerSecond + kNanosecondsPerSecond) % kNanosecondsPerSecond;
  std::array<timespec, 2> times{
      timespec{0, UTIME_OMIT},
      timespec{(modifiedAt - rest) / kNanosecondsPerSecond, static_cast<long>(rest)}};
  if (::futimens(file, times.data()) != 0) throwErrno("set a document's date");
}

}  // namespace

void throwErrno(const std::string& doing) {
  throw std::system_error(errno, std::generic_category(), doing);
}

std::optional<TreeEntry> TreeEntry::at(int folder, const std::string& name) {
  struct statx status {};
  if (::statx(folder, name.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
              STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    throwErrno("look at " + name);
  }
  return describe(status);
}

TreeEntry TreeEntry::of(int fd) {
  struct statx status {};
  if (::statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
    throwErrno("look at an open file");
  }
  return describe(status);
}

void placePromise(int folder, const ItemID& uuid, std::int64_t modifiedAt) {
  std::string name = promiseName(uuid);
  OpenFile file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file) throwErrno("make the promise " + name);
  setDate(file.get(), modifiedAt);
}

void dropPromise(int folder, const ItemID& uuid) {
  std::string name = promiseName(uuid);
  if (::unlinkat(folder, name.c_str(), 0) != 0 && errno != ENOENT) {
    throwErrno("remove the promise " + name);
  }
}

void setModeAndDate(int file, bool executable, std::int64_t modifiedAt) {
  if (::fchmod(file, executable ? 0755 : 0644) != 0) throwErrno("set a document's mode");
  setDate(file, modifiedAt);
}

std::string hashOfFile(int fd) {
  constexpr std::size_t kBlock = 1024 * 1024;
  auto buffer = std::make_unique<std::byte[]>(kBlock);
  ContentHash hash;
  off_t offset = 0;
  for (;;) {
    ssize_t length = ::pread(fd, buffer.get(), kBlock, offset);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) throwErrno("read a document");
    if (length == 0) return hash.finishHex();
    hash.add({buffer.get(), static_cast<std::size_t>(length)});
    offset += length;
  }
}

}  // namespace tessera
