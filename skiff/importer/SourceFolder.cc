#include "skiff/importer/SourceFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace tessera {

namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

struct CloseStream {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category());
}

SourceEntry::Kind kindOfMode(mode_t mode) {
  switch (mode & S_IFMT) {
    case S_IFDIR:
      return SourceEntry::Kind::Folder;
    case S_IFREG:
      return SourceEntry::Kind::File;
    case S_IFLNK:
      return SourceEntry::Kind::SymbolicLink;
    case S_IFSOCK:
      return SourceEntry::Kind::Socket;
    case S_IFIFO:
      return SourceEntry::Kind::Fifo;
    case S_IFCHR:
    case S_IFBLK:
      return SourceEntry::Kind::Device;
    default:
      return SourceEntry::Kind::Unknown;
  }
}

SourceEntry::Kind kindOf(int folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return kindOfMode(DTTOIF(entry.d_type));
  struct stat status {};
  if (::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return SourceEntry::Kind::Unknown;
  }
  return kindOfMode(status.st_mode);
}

}  // namespace

SourceFolder::SourceFolder(const std::filesystem::path& path)
    : _descriptor(::open(path.c_str(), kOpenFolder)) {
  if (_descriptor < 0) fail();
}

SourceFolder::SourceFolder(int parent, const std::string& name)
    : _descriptor(::openat(parent, name.c_str(), kOpenFolder | O_NOFOLLOW)) {
  if (_descriptor < 0) fail();
}

SourceFolder::SourceFolder(SourceFolder&& other) noexcept
    : _descriptor(std::exchange(other._descriptor, -1)) {}

SourceFolder& SourceFolder::operator=(SourceFolder&& other) noexcept {
  std::swap(_descriptor, other._descriptor);
  return *this;
}

SourceFolder::~SourceFolder() {
  close();
}

void SourceFolder::close() noexcept {
  if (_descriptor >= 0) ::close(std::exchange(_descriptor, -1));
}

SourceFolder::Listing SourceFolder::list() const {
  int copy = ::fcntl(_descriptor, F_DUPFD_CLOEXEC, 0);  // the stream closes what it is given
  if (copy < 0) fail();
  std::unique_ptr<DIR, CloseStream> stream(::fdopendir(copy));
  if (stream == nullptr) {
    ::close(copy);
    fail();
  }
  Listing listing;
  while (true) {
    errno = 0;
    const dirent* entry = ::readdir(stream.get());
    if (entry == nullptr) break;
    std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    listing.entries.push_back({std::string(name), kindOf(_descriptor, *entry)});
  }
  listing.error = errno;
  std::sort(listing.entries.begin(), listing.entries.end(),
            [](const SourceEntry& one, const SourceEntry& other) { return one.name < other.name; });
  return listing;
}

}  // namespace tessera
