#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tessera {

// The daemon's name of an item: a UUID (RFC 9562), the same on every device.
// Threads: immutable value.
class ItemID {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  constexpr ItemID() = default;
  constexpr explicit ItemID(const Bytes& bytes) : _bytes(bytes) {}
  // nullopt unless there are 16 bytes.
  [[nodiscard]] static std::optional<ItemID> fromBytes(std::span<const std::uint8_t> bytes);
  // Takes what toString() gives and nothing else, upper case included.
  [[nodiscard]] static std::optional<ItemID> fromString(std::string_view text);
  [[nodiscard]] static ItemID random();
  // The same identifier for the same seed everywhere: version 8, made from SHA-256.
  [[nodiscard]] static ItemID derived(std::string_view seed);

  // 36 characters, lower case.
  [[nodiscard]] std::string toString() const;
  [[nodiscard]] const Bytes& bytes() const noexcept { return _bytes; }

  auto operator<=>(const ItemID&) const = default;

 private:
  Bytes _bytes{};
};

}  // namespace tessera

template <>
struct std::hash<tessera::ItemID> {
  std::size_t operator()(const tessera::ItemID& identifier) const noexcept {
    std::size_t value = 0;
    // The last bytes: random in every version of UUID that is used here.
    std::memcpy(&value, identifier.bytes().data() + 8, sizeof value);
    return value;
  }
};
