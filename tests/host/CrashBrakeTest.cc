#include "host/CrashBrake.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

constexpr auto kNone = 0 * kj::SECONDS;
const auto kBegin = kj::origin<kj::TimePoint>() + 1000 * kj::SECONDS;

TEST(CrashBrake, LetsThreeCrashesPassAndStopsTheFourth) {
  CrashBrake brake;
  for (int i = 0; i < 3; ++i) {
    brake.crashed(kBegin);
    EXPECT_EQ(brake.remaining(kBegin), kNone);
  }
  brake.crashed(kBegin);
  EXPECT_EQ(brake.remaining(kBegin), 1 * kj::SECONDS);
  EXPECT_EQ(brake.remaining(kBegin + 400 * kj::MILLISECONDS), 600 * kj::MILLISECONDS);
  EXPECT_EQ(brake.remaining(kBegin + 1 * kj::SECONDS), kNone);
}

TEST(CrashBrake, LetsCrashesPassThatAreFarApart) {
  CrashBrake brake;
  auto now = kBegin;
  for (int i = 0; i < 20; ++i) {
    brake.crashed(now);
    EXPECT_EQ(brake.remaining(now), kNone);
    now += 4 * kj::SECONDS;
  }
}

TEST(CrashBrake, BrakesLongerEachTimeUpToHalfAMinute) {
  CrashBrake brake;
  auto now = kBegin;
  for (int i = 0; i < 3; ++i) brake.crashed(now);
  for (const auto pause : {1, 2, 4}) {
    brake.crashed(now);
    EXPECT_EQ(brake.remaining(now), pause * kj::SECONDS);
    now += pause * kj::SECONDS;
  }
  for (int round = 0; round < 4; ++round) {
    for (int i = 0; i < 4; ++i) brake.crashed(now);
    now += brake.remaining(now);
  }
  for (int i = 0; i < 4; ++i) brake.crashed(now);
  EXPECT_EQ(brake.remaining(now), 30 * kj::SECONDS);
}

TEST(CrashBrake, ForgetsAfterAQuietMinute) {
  CrashBrake brake;
  auto now = kBegin;
  for (int i = 0; i < 6; ++i) brake.crashed(now);
  now += 60 * kj::SECONDS;
  for (int i = 0; i < 4; ++i) brake.crashed(now);
  EXPECT_EQ(brake.remaining(now), 1 * kj::SECONDS);
}

}  // namespace
}  // namespace tessera
