#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace tessera {

// A zone: the records of one container in one account's database. Records of a
// zone change together, atomically.
struct ZoneID {
  std::string owner;      // account name
  std::string container;  // container identifier

  auto operator<=>(const ZoneID&) const = default;
};

struct RecordID {
  ZoneID zone;
  std::string name;  // unique in its zone; documents use a lower-case UUID

  auto operator<=>(const RecordID&) const = default;
};

// Bytes of any length, kept once however many records name them.
struct Asset {
  std::string sha256;      // lower-case hexadecimal, 64 characters
  std::uint64_t size = 0;  // bytes

  auto operator<=>(const Asset&) const = default;
};

struct RecordReference {
  std::string recordName;  // in the same zone

  auto operator<=>(const RecordReference&) const = default;
};

using FieldValue = std::variant<std::string, std::int64_t, double, std::vector<std::uint8_t>,
                                RecordReference, Asset, std::vector<std::string>>;

// One record. `changeTag` names the version that was read; it is empty for a
// record that was never saved.
struct Record {
  RecordID id;
  std::string type;
  std::string changeTag;
  std::uint64_t version = 0;    // 1 for the first save, one more with each
  std::int64_t modifiedAt = 0;  // nanoseconds since the epoch, the service's clock
  std::map<std::string, FieldValue> fields;
};

}  // namespace tessera
