#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace tessera {

// Members in the order in which they were written, as a person would read them.
using Json = nlohmann::ordered_json;

// One line of JSON, valid whatever the strings hold: bytes that are no UTF-8 come out as
// U+FFFD.
[[nodiscard]] inline std::string jsonLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tessera
