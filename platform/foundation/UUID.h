#pragma once

#include <array>
#include <cstdint>

namespace tessera {

// 16 bytes that name one thing among all things.
using UUIDBytes = std::array<std::uint8_t, 16>;

// Fills `uuid` with random bytes of the kernel's, marked as version 4 (RFC 9562,
// section 5.4). Threads: any. Ends the process when the kernel gives none.
void uuid_generate(UUIDBytes& uuid) noexcept;

// 0 when equal, negative or positive by the first byte that differs.
[[nodiscard]] int uuid_compare(const UUIDBytes& left, const UUIDBytes& right) noexcept;

}  // namespace tessera
