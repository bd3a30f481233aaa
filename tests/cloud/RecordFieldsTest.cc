#include "cloud/embedded/RecordFields.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "ScratchCloud.h"

namespace tessera {
namespace {

TEST(RecordFields, ComeBackAsTheyWereWithTheirTypes) {
  FieldMap fields;
  fields["text"] = std::string(
      "Gr\xc3\xbc\xc3\x9f"
      "e");
  fields["empty"] = std::string();
  fields["not UTF-8"] = std::string("caf\xe9\0x", 6);
  fields["small"] = std::int64_t{1};
  fields["least"] = std::numeric_limits<std::int64_t>::min();
  fields["most"] = std::numeric_limits<std::int64_t>::max();
  fields["whole number"] = 1.0;
  fields["tenth"] = 0.1;
  fields["infinite"] = std::numeric_limits<double>::infinity();
  fields["bytes"] = std::vector<std::uint8_t>{0, 255, 128};
  fields["no bytes"] = std::vector<std::uint8_t>{};
  fields["reference"] = RecordReference{"there"};
  fields["asset"] = Asset{"00ff" + std::string(60, '9'), 1ull << 50};
  fields["list"] = std::vector<std::string>{"r", "", "a"};
  fields["empty list"] = std::vector<std::string>{};
  EXPECT_EQ(decodeFields(encodeFields(fields)), fields);
  EXPECT_EQ(decodeFields(encodeFields({})), FieldMap{});
}

TEST(RecordFields, AreCorruptWhenTheyAreAnythingElse) {
  auto good = encodeFields({{"list", std::vector<std::string>{"one", "two"}}});
  for (std::size_t length = 0; length < good.size(); ++length) {
    std::vector<std::uint8_t> cut(good.begin(), good.begin() + static_cast<long>(length));
    EXPECT_EQ(codeThrownBy([&cut] { (void)decodeFields(cut); }), CloudError::Code::Corrupt)
        << length;
  }
  const std::vector<std::vector<std::uint8_t>> others{
      {0x01},                              // a number
      {0xa1, 0x61, 'x', 0xf6},             // {"x": null}
      {0xa1, 0x61, 'x', 0x80},             // {"x": []}
      {0xa1, 0x61, 'x', 0x81, 0x01},       // {"x": [1]}
      {0xa1, 0x61, 'x', 0x81, 0x61, 'q'},  // {"x": ["q"]}
  };
  for (const auto& other : others) {
    EXPECT_EQ(codeThrownBy([&other] { (void)decodeFields(other); }), CloudError::Code::Corrupt);
  }
}

}  // namespace
}  // namespace tessera
