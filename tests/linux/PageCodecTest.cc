#include "linux/PageCodec.h"

#include <cerrno>
#include <string>
#include <vector>

#include <capnp/message.h>
#include <gtest/gtest.h>

namespace tessera {
namespace {

NSFileProviderPage acrossTheWire(const NSFileProviderPage& page) {
  capnp::MallocMessageBuilder message;
  auto wire = message.initRoot<wire::Page>();
  encodePage(page, wire);
  NSErrorPtr error;
  auto read = decodePage(wire.asReader(), &error);
  EXPECT_EQ(error, nullptr);
  return read;
}

TEST(PageCodec, KeepsTheInitialPagesAsTheVeryObjects) {
  EXPECT_EQ(acrossTheWire(NSFileProviderInitialPageSortedByName()),
            NSFileProviderInitialPageSortedByName());
  EXPECT_EQ(acrossTheWire(NSFileProviderInitialPageSortedByDate()),
            NSFileProviderInitialPageSortedByDate());
}

TEST(PageCodec, KeepsTheEndAndTokens) {
  EXPECT_EQ(acrossTheWire(nullptr), nullptr);
  const std::vector<std::uint8_t> bytes = {0, 1, 0xff, 0};
  const auto page = acrossTheWire(NSData::dataWithBytes(bytes));
  ASSERT_NE(page, nullptr);
  EXPECT_TRUE(page->isEqualToData(*NSData::dataWithBytes(bytes)));
}

TEST(PageCodec, RefusesATokenThatIsTooLong) {
  for (const std::size_t length : {kMaxTokenBytes, kMaxTokenBytes + 1}) {
    capnp::MallocMessageBuilder message;
    auto wire = message.initRoot<wire::Page>();
    wire.initToken(static_cast<unsigned>(length));
    NSErrorPtr error;
    const auto page = decodePage(wire.asReader(), &error);
    if (length <= kMaxTokenBytes) {
      EXPECT_EQ(error, nullptr);
      EXPECT_EQ(page->length(), length);
    } else {
      EXPECT_EQ(page, nullptr);
      ASSERT_NE(error, nullptr);
      EXPECT_EQ(error->domain(), NSPOSIXErrorDomain);
      EXPECT_EQ(error->code(), EINVAL);
      EXPECT_EQ(error->localizedDescription(), "The position given is 4097 bytes long.");
    }
  }
}

}  // namespace
}  // namespace tessera
