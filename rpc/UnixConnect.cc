#include "rpc/UnixConnect.h"

#include <cerrno>

#include <sys/socket.h>

#include "rpc/SocketFolder.h"

namespace tessera {

kj::AutoCloseFd connectUnix(const std::filesystem::path& path, std::error_code& error) {
  const auto parent = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
  const auto folder = SocketFolder::open(parent, error);
  if (error) return nullptr;
  sockaddr_un address{};
  try {
    address = folder.address(path.filename().string());
  } catch (const std::system_error& failure) {
    error = failure.code();
    return nullptr;
  }
  kj::AutoCloseFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (socket == nullptr ||
      ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    error.assign(errno, std::generic_category());
    return nullptr;
  }
  return socket;
}

}  // namespace tessera
