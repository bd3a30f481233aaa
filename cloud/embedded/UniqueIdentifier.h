#pragma once

#include <string>

namespace tessera {

// A new random UUID (RFC 4122, version 4) in lower case.
[[nodiscard]] std::string makeUniqueIdentifier();

}  // namespace tessera
