#include "host/RestartPause.h"

#include <gtest/gtest.h>

namespace tessera {
namespace {

constexpr auto kShortLife = 1 * kj::SECONDS;

TEST(RestartPause, StartsAgainAtOnceAndThenWithDoublingPauses) {
  RestartPause pause;
  EXPECT_EQ(pause.after(kShortLife), 0 * kj::SECONDS);
  const kj::Duration expected[] = {500 * kj::MILLISECONDS, 1 * kj::SECONDS, 2 * kj::SECONDS,
                                   4 * kj::SECONDS,        8 * kj::SECONDS, 16 * kj::SECONDS,
                                   30 * kj::SECONDS,       30 * kj::SECONDS};
  for (const auto next : expected) EXPECT_EQ(pause.after(kShortLife), next);
}

TEST(RestartPause, ForgetsShortLivesAfterALongOne) {
  RestartPause pause;
  for (int i = 0; i < 5; ++i) (void)pause.after(kShortLife);
  EXPECT_EQ(pause.after(59 * kj::SECONDS), 8 * kj::SECONDS);
  EXPECT_EQ(pause.after(60 * kj::SECONDS), 0 * kj::SECONDS);
  EXPECT_EQ(pause.after(kShortLife), 500 * kj::MILLISECONDS);
}

}  // namespace
}  // namespace tessera
