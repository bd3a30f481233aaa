#include "cloud/embedded/RecordFields.h"

#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "cloud/CloudError.h"

namespace tessera {

namespace {

using Json = nlohmann::json;

constexpr const char* kReference = "r";
constexpr const char* kAsset = "a";
constexpr const char* kList = "l";

std::uint8_t nibble(char digit) {
  return static_cast<std::uint8_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
}

std::vector<std::uint8_t> bytesOfDigest(const std::string& hexadecimal) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(hexadecimal.size() / 2);
  for (std::size_t index = 0; index + 1 < hexadecimal.size(); index += 2) {
    bytes.push_back(static_cast<std::uint8_t>(nibble(hexadecimal[index]) << 4 |
                                              nibble(hexadecimal[index + 1])));
  }
  return bytes;
}

std::string digestOfBytes(const std::vector<std::uint8_t>& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (std::uint8_t byte : bytes) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

struct ValueEncoder {
  Json operator()(const std::string& text) const { return text; }
  Json operator()(std::int64_t number) const { return number; }
  Json operator()(double number) const { return number; }
  Json operator()(const std::vector<std::uint8_t>& bytes) const { return Json::binary(bytes); }
  Json operator()(const RecordReference& reference) const {
    return Json::array({kReference, reference.recordName});
  }
  Json operator()(const Asset& asset) const {
    return Json::array({kAsset, Json::binary(bytesOfDigest(asset.sha256)), asset.size});
  }
  Json operator()(const std::vector<std::string>& list) const {
    Json value = Json::array({kList});
    for (const auto& text : list) value.push_back(text);
    return value;
  }
};

[[noreturn]] void refuse() {
  throw CloudError(CloudError::Code::Corrupt, "A record's fields in the cloud are damaged.");
}

FieldValue decodeArray(const Json& array) {
  if (array.empty()) refuse();
  const auto& letter = array[0].get_ref<const std::string&>();
  if (letter == kReference && array.size() == 2) {
    return RecordReference{array[1].get<std::string>()};
  }
  if (letter == kAsset && array.size() == 3) {
    return Asset{digestOfBytes(array[1].get_binary()), array[2].get<std::uint64_t>()};
  }
  if (letter != kList) refuse();
  std::vector<std::string> list;
  list.reserve(array.size() - 1);
  for (std::size_t index = 1; index < array.size(); ++index) {
    list.push_back(array[index].get<std::string>());
  }
  return list;
}

FieldValue decodeValue(const Json& value) {
  switch (value.type()) {
    case Json::value_t::string:
      return value.get<std::string>();
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
      return value.get<std::int64_t>();
    case Json::value_t::number_float:
      return value.get<double>();
    case Json::value_t::binary:
      return static_cast<const std::vector<std::uint8_t>&>(value.get_binary());
    case Json::value_t::array:
      return decodeArray(value);
    default:
      refuse();
  }
}

}  // namespace

std::vector<std::uint8_t> encodeFields(const FieldMap& fields) {
  Json map = Json::object();
  for (const auto& [name, value] : fields) map[name] = std::visit(ValueEncoder{}, value);
  return Json::to_cbor(map);
}

FieldMap decodeFields(std::span<const std::uint8_t> bytes) {
  try {
    Json map = Json::from_cbor(bytes.begin(), bytes.end());
    if (!map.is_object()) refuse();
    FieldMap fields;
    for (const auto& [name, value] : map.items()) {
      fields.emplace_hint(fields.end(), name, decodeValue(value));
    }
    return fields;
  } catch (const Json::exception&) {
    refuse();
  }
}

}  // namespace tessera
