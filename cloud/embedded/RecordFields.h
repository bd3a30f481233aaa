#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "cloud/Record.h"

namespace tessera {

using FieldMap = std::map<std::string, FieldValue>;

// A record's fields as the bytes kept in the database: one CBOR map. Text, integers,
// floats and byte strings are themselves; the rest are arrays that begin with a
// letter: ["r", record name], ["a", 32 bytes of hash, size], ["l", text...].
[[nodiscard]] std::vector<std::uint8_t> encodeFields(const FieldMap& fields);

// Throws Corrupt for anything that encodeFields does not write.
[[nodiscard]] FieldMap decodeFields(std::span<const std::uint8_t> bytes);

}  // namespace tessera
