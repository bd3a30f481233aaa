#pragma once

#include <cstdint>
#include <string>

namespace tessera {

struct GVCBitName {
  std::uint64_t value;  // 0 ends a table
  const char* name;
};

// The names of the set bits, joined by "|", in the order of the table; bits without a name
// as one hexadecimal number behind them; "0" when nothing is set.
[[nodiscard]] std::string GVCPrettyPrintBitmap(std::uint64_t bits, const GVCBitName* table);

}  // namespace tessera
