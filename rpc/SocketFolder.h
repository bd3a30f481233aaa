#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include <kj/io.h>
#include <sys/un.h>

namespace tessera {

// A folder that holds Unix sockets, opened. Sockets in it are named through the open
// descriptor (/proc/self/fd/N/name): the address structure has room for 108 bytes, which
// the path of a home easily exceeds. Threads: immutable.
class SocketFolder {
 public:
  // Creates what is missing of `folder`, mode 0700. Throws std::system_error, also when the
  // folder belongs to another user or lets others in (EPERM).
  [[nodiscard]] static SocketFolder prepare(const std::filesystem::path& folder);
  // Takes the folder as it is; a folder that cannot be opened leaves `error` set.
  [[nodiscard]] static SocketFolder open(const std::filesystem::path& folder,
                                         std::error_code& error);

  [[nodiscard]] int fd() const { return _fd.get(); }
  // The address of the socket `name`. Throws std::system_error (ENAMETOOLONG).
  [[nodiscard]] sockaddr_un address(const std::string& name) const;

 private:
  explicit SocketFolder(kj::AutoCloseFd fd) : _fd(kj::mv(fd)) {}
  kj::AutoCloseFd _fd;
};

}  // namespace tessera
