#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "platform/foundation/NSObject.h"

namespace tessera {

// An immutable byte buffer. Threads: immutable.
class NSData final : public NSObject {
 public:
  explicit NSData(std::vector<std::uint8_t> bytes) : _bytes(std::move(bytes)) {}

  // dataWithBytes:length:
  [[nodiscard]] static std::shared_ptr<const NSData> dataWithBytes(
      std::span<const std::uint8_t> bytes);
  [[nodiscard]] static std::shared_ptr<const NSData> dataWithText(std::string_view text);

  [[nodiscard]] std::span<const std::uint8_t> bytes() const noexcept { return _bytes; }
  [[nodiscard]] std::size_t length() const noexcept { return _bytes.size(); }
  [[nodiscard]] bool isEqualToData(const NSData& other) const { return _bytes == other._bytes; }

  void describe(TextSink& sink) const override;

 private:
  const std::vector<std::uint8_t> _bytes;
};

using NSDataPtr = std::shared_ptr<const NSData>;

}  // namespace tessera
