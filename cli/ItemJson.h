#pragma once

#include <cstdint>
#include <string>

#include "cli/Json.h"
#include "protocol/extension.capnp.h"

namespace tessera {

// An item's record as one JSON object. `path` is below the tree, with a leading "/".
[[nodiscard]] Json itemJson(wire::ProviderItem::Reader item, const std::string& path);

// A line of `ls -l`: present or not, size, date, name.
[[nodiscard]] std::string itemRow(wire::ProviderItem::Reader item);

[[nodiscard]] bool isFolder(wire::ProviderItem::Reader item);

// Nanoseconds since the epoch as RFC 3339, UTC, with as many digits of the second as say
// something.
[[nodiscard]] std::string rfc3339(std::int64_t nanoseconds);
// Bytes as a person reads them: "17", "1.5 KiB", "3.2 GiB".
[[nodiscard]] std::string humanSize(std::uint64_t bytes);

// The path of a folder's entry.
[[nodiscard]] std::string childPath(const std::string& folder, const std::string& name);

}  // namespace tessera
