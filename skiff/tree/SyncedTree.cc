#include "skiff/tree/SyncedTree.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "skiff/tree/TreeEntry.h"

namespace tessera {

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
// Paths are opened in pieces below the kernel's PATH_MAX.
constexpr std::size_t kPiece = 3000;

// Takes the next piece, whole components, off `path`.
std::string takePiece(std::string_view& path) {
  if (path.size() <= kPiece) {
    std::string piece(path);
    path = {};
    return piece;
  }
  std::size_t end = path.rfind('/', kPiece);
  std::string piece(path.substr(0, end));
  path.remove_prefix(end + 1);
  return piece;
}

OpenFile duplicate(int fd) {
  OpenFile copy(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
  if (!copy) throwErrno("duplicate a folder's descriptor");
  return copy;
}

}  // namespace

int openBeneath(int folder, const std::string& path, int flags) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  // EAGAIN: a rename elsewhere got in the way of the kernel's check; it is worth some tries.
  for (int attempt = 0;; ++attempt) {
    long fd = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    if (fd >= 0 || (errno != EAGAIN && errno != EINTR) || attempt == 100) {
      return static_cast<int>(fd);
    }
  }
}

SyncedTree::SyncedTree(std::filesystem::path root)
    : _root(std::move(root)), _folder(::open(_root.c_str(), kFolderFlags)) {
  if (!_folder) throwErrno("open the tree " + _root.string());
}

OpenFile SyncedTree::openFolder(std::string_view relative) const {
  if (relative.empty()) return duplicate(_folder.get());
  OpenFile folder;
  while (!relative.empty()) {
    std::string piece = takePiece(relative);
    OpenFile next(openBeneath(folder ? folder.get() : _folder.get(), piece, kFolderFlags));
    if (!next) throwErrno("open the folder " + piece);
    folder = std::move(next);
  }
  return folder;
}

OpenFile SyncedTree::makeFolders(std::string_view relative) const {
  OpenFile folder = duplicate(_folder.get());
  while (!relative.empty()) {
    std::size_t length = std::min(relative.find('/'), relative.size());
    std::string name(relative.substr(0, length));
    relative.remove_prefix(std::min(length + 1, relative.size()));
    if (::mkdirat(folder.get(), name.c_str(), 0755) != 0 && errno != EEXIST) {
      throwErrno("make the folder " + name);
    }
    OpenFile next(openBeneath(folder.get(), name, kFolderFlags));
    if (!next) throwErrno("open the folder " + name);
    folder = std::move(next);
  }
  return folder;
}

std::optional<std::string> SyncedTree::relativePath(std::string_view absolute) const {
  std::string normal = std::filesystem::path(absolute).lexically_normal().string();
  while (normal.size() > 1 && normal.ends_with('/')) normal.pop_back();
  std::string root = _root.string();
  if (normal == root) return "";
  if (root != "/") root.push_back('/');
  if (!normal.starts_with(root)) return std::nullopt;
  return normal.substr(root.size());
}

std::string SyncedTree::absolutePath(std::string_view relative) const {
  if (relative.empty()) return _root.string();
  return _root.string() + "/" + std::string(relative);
}

}  // namespace tessera
