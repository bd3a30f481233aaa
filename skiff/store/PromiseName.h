#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "skiff/store/ItemID.h"

namespace tessera {

// The hidden file that stands for a document without content: `.tessera-<uuid>.promise`.
[[nodiscard]] std::string promiseName(const ItemID& uuid);
// nullopt for every other name.
[[nodiscard]] std::optional<ItemID> itemOfPromise(std::string_view name);

}  // namespace tessera
