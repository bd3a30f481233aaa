#pragma once

#include <string_view>

namespace tessera {

// Whether `text` is well-formed UTF-8 as RFC 3629 has it: shortest forms only, no
// surrogates, nothing above U+10FFFF.
[[nodiscard]] bool isValidUtf8(std::string_view text);

}  // namespace tessera
