#pragma once

#include <string>
#include <string_view>

#include <capnp/blob.h>

namespace tessera {

// Texts of messages, with whatever NULs a peer put into them. The view lives as long as
// the message.
[[nodiscard]] inline std::string_view viewOf(capnp::Text::Reader text) {
  return {text.begin(), text.size()};
}

[[nodiscard]] inline std::string textOf(capnp::Text::Reader text) {
  return std::string(viewOf(text));
}

}  // namespace tessera
