#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace tessera {

// SHA-256 of bytes that come in pieces. Threads: one at a time.
class ContentHash {
 public:
  using Digest = std::array<std::uint8_t, 32>;

  ContentHash();
  ~ContentHash();
  ContentHash(const ContentHash&) = delete;
  ContentHash& operator=(const ContentHash&) = delete;

  void add(std::span<const std::byte> bytes);
  // Ends the hash; nothing may be added afterwards.
  [[nodiscard]] Digest finish();
  // finish() as 64 lower-case hexadecimal characters.
  [[nodiscard]] std::string finishHex();

  [[nodiscard]] static Digest of(std::string_view text);

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace tessera
