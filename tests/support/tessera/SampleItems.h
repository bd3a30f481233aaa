#pragma once

#include <cstdint>
#include <string>

#include "platform/tessera/GVQueryItem.h"

namespace tessera {

// A file object identifier that differs from that of every other number.
[[nodiscard]] inline GVFileObjectID sampleID(std::uint64_t number) {
  GVFileObjectID::Bytes bytes{};
  for (std::size_t i = 0; i < 8; ++i) {
    bytes[15 - i] = static_cast<std::uint8_t>(number >> (8 * i));
  }
  return GVFileObjectID(bytes);
}

[[nodiscard]] inline GVQueryItemPtr sampleItem(std::uint64_t number,
                                               std::string filename = "document") {
  GVItemFields fields(sampleID(number));
  fields.filename = std::move(filename);
  return std::make_shared<GVQueryItem>(std::move(fields));
}

[[nodiscard]] inline GVQueryItemPtr sampleDeadItem(std::uint64_t number) {
  GVItemFields fields(sampleID(number));
  fields.isDead = true;
  return std::make_shared<GVQueryItem>(std::move(fields));
}

}  // namespace tessera
