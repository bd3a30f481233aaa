#include "skiff/store/PromiseName.h"

namespace tessera {

namespace {
constexpr std::string_view kPrefix = ".tessera-";
constexpr std::string_view kSuffix = ".promise";
}  // namespace

std::string promiseName(const ItemID& uuid) {
  return std::string(kPrefix) + uuid.toString() + std::string(kSuffix);
}

std::optional<ItemID> itemOfPromise(std::string_view name) {
  if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  if (name.size() < kSuffix.size()) return std::nullopt;
  name.remove_suffix(kSuffix.size());
  return ItemID::fromString(name);
}

}  // namespace tessera
