#include "rpc/SocketFolder.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessera {

namespace {

std::system_error failure(int error, const std::string& what) {
  return {error, std::generic_category(), what};
}

void makeFolders(const std::filesystem::path& folder) {
  std::filesystem::path made;
  for (const auto& part : folder) {
    made /= part;
    if (::mkdir(made.c_str(), 0700) != 0 && errno != EEXIST && errno != EROFS) {
      throw failure(errno, "cannot create " + made.string());
    }
  }
}

}  // namespace

SocketFolder SocketFolder::prepare(const std::filesystem::path& folder) {
  makeFolders(folder);
  kj::AutoCloseFd fd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat found {};
  if (fd == nullptr || ::fstat(fd.get(), &found) != 0) {
    throw failure(errno, "cannot open " + folder.string());
  }
  if (found.st_uid != ::geteuid()) {
    throw failure(EPERM, folder.string() + " belongs to another user");
  }
  if ((found.st_mode & 077) != 0) {
    throw failure(EPERM, folder.string() + " lets other users in; its mode must be 0700");
  }
  return SocketFolder(kj::mv(fd));
}

SocketFolder SocketFolder::open(const std::filesystem::path& folder, std::error_code& error) {
  kj::AutoCloseFd fd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (fd == nullptr) {
    error.assign(errno, std::generic_category());
  } else {
    error.clear();
  }
  return SocketFolder(kj::mv(fd));
}

sockaddr_un SocketFolder::address(const std::string& name) const {
  const auto path = "/proc/self/fd/" + std::to_string(fd()) + "/" + name;
  sockaddr_un result{};
  result.sun_family = AF_UNIX;
  if (path.size() >= sizeof result.sun_path) {
    throw failure(ENAMETOOLONG, "a socket cannot be named " + name);
  }
  std::memcpy(result.sun_path, path.c_str(), path.size() + 1);
  return result;
}

}  // namespace tessera
