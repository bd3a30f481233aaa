#include "host/SignalledContainers.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(SignalledContainers, CountsEachContainersSignals) {
  SignalledContainers containers;
  EXPECT_EQ(containers.count("a"), 0U);
  EXPECT_TRUE(containers.signal("a"));
  EXPECT_TRUE(containers.signal("a"));
  EXPECT_TRUE(containers.signal("b"));
  EXPECT_EQ(containers.count("a"), 2U);
  EXPECT_EQ(containers.count("b"), 1U);
}

TEST(SignalledContainers, RefusesNamesThatCannotBeOnesAndTooManyOfThem) {
  SignalledContainers containers;
  EXPECT_FALSE(containers.signal(""));
  EXPECT_FALSE(containers.signal(std::string(257, 'x')));
  EXPECT_TRUE(containers.signal(std::string(256, 'x')));
  for (int i = 1; i < 10'000; ++i) EXPECT_TRUE(containers.signal(std::to_string(i)));
  EXPECT_FALSE(containers.signal("one too many"));
  EXPECT_TRUE(containers.signal("1"));
}

}  // namespace
}  // namespace tessera
