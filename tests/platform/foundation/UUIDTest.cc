#include "platform/foundation/UUID.h"

#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace tessera {
namespace {

TEST(UUID, IsRandomAndMarkedAsVersionFour) {
  UUIDBytes bitsSeenSet{};
  UUIDBytes bitsSeenClear{};
  for (int i = 0; i < 200; ++i) {
    UUIDBytes uuid{};
    uuid_generate(uuid);
    EXPECT_EQ(0x40, uuid[6] & 0xf0);
    EXPECT_EQ(0x80, uuid[8] & 0xc0);
    for (std::size_t at = 0; at < uuid.size(); ++at) {
      bitsSeenSet[at] |= uuid[at];
      bitsSeenClear[at] |= static_cast<std::uint8_t>(~uuid[at]);
    }
  }
  for (std::size_t at = 0; at < bitsSeenSet.size(); ++at) {
    const int fixed = at == 6 ? 0xf0 : at == 8 ? 0xc0 : 0;
    EXPECT_EQ(0xff, bitsSeenSet[at] | fixed) << at;
    EXPECT_EQ(0xff, bitsSeenClear[at] | fixed) << at;
  }
}

TEST(UUID, IsNeverTheSameForTwoOfManyThreads) {
  std::mutex lock;
  std::set<UUIDBytes> all;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&lock, &all] {
      for (int i = 0; i < 500; ++i) {
        UUIDBytes uuid;
        uuid_generate(uuid);
        const std::lock_guard held(lock);
        all.insert(uuid);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(4000U, all.size());
}

TEST(UUID, ComparesByTheFirstByteThatDiffers) {
  UUIDBytes low{};
  UUIDBytes high{};
  EXPECT_EQ(0, uuid_compare(low, high));
  for (std::size_t at = 0; at < low.size(); ++at) {
    high = low;
    high[at] = 0xff;  // more than any signed byte
    EXPECT_LT(uuid_compare(low, high), 0) << at;
    EXPECT_GT(uuid_compare(high, low), 0) << at;
  }
}

}  // namespace
}  // namespace tessera
