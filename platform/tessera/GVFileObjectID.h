#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tessera {

// The client library's identifier of a file or folder known to the daemon: 16 bytes, the
// same on every device. Its string form is the item identifier that the platform sees: a
// UUID in lower-case hexadecimal (RFC 9562, section 4), 36 characters.
//
// Threads: immutable value.
class GVFileObjectID {
 public:
  using Bytes = std::array<std::uint8_t, 16>;

  constexpr explicit GVFileObjectID(const Bytes& bytes) : _bytes(bytes) {}

  // fileObjectIDWithString: — nullopt unless `string` is exactly what asString() gives for
  // some identifier; the platform's reserved identifiers are not.
  [[nodiscard]] static std::optional<GVFileObjectID> fileObjectIDWithString(
      std::string_view string);

  [[nodiscard]] std::string asString() const;
  [[nodiscard]] const Bytes& bytes() const noexcept { return _bytes; }

  auto operator<=>(const GVFileObjectID&) const = default;

 private:
  Bytes _bytes;
};

}  // namespace tessera

template <>
struct std::hash<tessera::GVFileObjectID> {
  std::size_t operator()(const tessera::GVFileObjectID& identifier) const noexcept;
};
