#pragma once

#include <string>

namespace tessera {

// A name for a new record: a random UUID in lower case.
[[nodiscard]] std::string newRecordName();

}  // namespace tessera
