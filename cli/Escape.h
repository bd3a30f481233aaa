#pragma once

#include <string>
#include <string_view>

namespace tessera {

// `text` as it may be shown to a person: names come from elsewhere and must not drive a
// terminal. Control characters (C0, DEL, C1), the characters that turn the direction of
// writing around (U+202A to U+202E, U+2066 to U+2069), and bytes that are no UTF-8 come out
// as C-style escapes (\n, \t, \x1b, \u202e), a backslash as \\. Everything else stays.
[[nodiscard]] std::string escaped(std::string_view text);

}  // namespace tessera
