#pragma once

#include <sys/types.h>

namespace tessera {

// Who is at the other end of a Unix socket: what the kernel noted when it connected (for
// the connecting end: when the other one began to listen). Peers are told apart by this
// and never by what they say.
struct PeerCredentials {
  pid_t pid = 0;
  uid_t uid = 0;
  gid_t gid = 0;

  // Throws std::system_error.
  [[nodiscard]] static PeerCredentials of(int socket);
  // The user this process acts for, or root.
  [[nodiscard]] bool mayConnect() const;
};

}  // namespace tessera
