#include "platform/foundation/UUID.h"

#include <sys/random.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tessera {

// Up to 256 bytes come whole or not at all (getrandom(2)).
void uuid_generate(UUIDBytes& uuid) noexcept {
  while (::getrandom(uuid.data(), uuid.size(), 0) != static_cast<ssize_t>(uuid.size())) {
    if (errno == EINTR) continue;
    std::fprintf(stderr, "no random bytes: %s\n", std::strerror(errno));
    std::abort();
  }
  uuid[6] = static_cast<std::uint8_t>((uuid[6] & 0x0f) | 0x40);  // version 4
  uuid[8] = static_cast<std::uint8_t>((uuid[8] & 0x3f) | 0x80);  // the variant of the RFC
}

int uuid_compare(const UUIDBytes& left, const UUIDBytes& right) noexcept {
  return std::memcmp(left.data(), right.data(), left.size());
}

}  // namespace tessera
