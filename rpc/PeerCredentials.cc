#include "rpc/PeerCredentials.h"

#include <cerrno>
#include <system_error>

#include <sys/socket.h>
#include <unistd.h>

namespace tessera {

PeerCredentials PeerCredentials::of(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    throw std::system_error(errno, std::generic_category(), "SO_PEERCRED");
  }
  return {peer.pid, peer.uid, peer.gid};
}

bool PeerCredentials::mayConnect() const {
  return uid == ::geteuid() || uid == 0;
}

}  // namespace tessera
