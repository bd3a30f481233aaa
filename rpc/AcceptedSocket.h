#pragma once

#include <memory>

#include <kj/io.h>

#include "rpc/PeerCredentials.h"

namespace tessera {

// A connection that a UnixListener let in, and its place among the connections that the
// listener allows: the place is free again when `slot` goes.
struct AcceptedSocket {
  kj::AutoCloseFd fd;
  PeerCredentials peer;
  std::shared_ptr<void> slot;
};

}  // namespace tessera
