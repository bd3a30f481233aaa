#pragma once

#include <cstddef>
#include <cstdint>

#include <kj/units.h>

namespace tessera {

// What a broken or hostile peer may cost. A word is 8 bytes.
struct RpcLimits {
  // Of one message: its size, and how much of it (counted again when read again) is read.
  std::uint64_t traversalWords = 1u << 20;
  int nesting = 32;
  // Of calls that came in and have not been answered: beyond it nothing more is read.
  std::size_t flowWords = 256u << 10;
  // Of what the peer has not read yet; beyond it the connection is dropped.
  std::size_t unreadBytes = 16u << 20;
  // How often unread bytes are counted while there are any.
  kj::Duration unreadCheck = 50 * kj::MILLISECONDS;
  // How long what a peer sent last is still read when it has hung up.
  kj::Duration lastMessages = 1 * kj::SECONDS;
  unsigned descriptorsPerMessage = 2;
};

}  // namespace tessera
