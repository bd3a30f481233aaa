#include "platform/foundation/NSProgress.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace tessera {
namespace {

TEST(NSProgress, CountsUnits) {
  const auto progress = NSProgress::progressWithTotalUnitCount(10);
  EXPECT_EQ(progress->totalUnitCount(), 10);
  EXPECT_EQ(progress->completedUnitCount(), 0);
  progress->setCompletedUnitCount(4);
  progress->setTotalUnitCount(12);
  EXPECT_EQ(progress->completedUnitCount(), 4);
  EXPECT_EQ(progress->totalUnitCount(), 12);
}

TEST(NSProgress, RunsTheCancellationHandlerOnce) {
  const auto progress = NSProgress::progressWithTotalUnitCount(0);
  int calls = 0;
  progress->setCancellationHandler([&calls] { ++calls; });
  EXPECT_FALSE(progress->isCancelled());
  progress->cancel();
  progress->cancel();
  EXPECT_TRUE(progress->isCancelled());
  EXPECT_EQ(calls, 1);
}

TEST(NSProgress, RunsAHandlerThatComesAfterTheCancellationAtOnce) {
  const auto progress = NSProgress::progressWithTotalUnitCount(0);
  progress->cancel();
  int calls = 0;
  progress->setCancellationHandler([&calls] { ++calls; });
  EXPECT_EQ(calls, 1);
}

TEST(NSProgress, MayBeAskedFromItsHandler) {
  const auto progress = NSProgress::progressWithTotalUnitCount(0);
  bool cancelled = false;
  progress->setCancellationHandler([&progress, &cancelled] {
    progress->cancel();
    cancelled = progress->isCancelled();
  });
  progress->cancel();
  EXPECT_TRUE(cancelled);
}

TEST(NSProgress, RunsTheHandlerOnceHoweverManyThreadsCancel) {
  for (int round = 0; round < 50; ++round) {
    const auto progress = NSProgress::progressWithTotalUnitCount(0);
    std::atomic<int> calls = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) threads.emplace_back([progress] { progress->cancel(); });
    progress->setCancellationHandler([&calls] { ++calls; });
    for (auto& thread : threads) thread.join();
    ASSERT_EQ(calls, 1);
  }
}

}  // namespace
}  // namespace tessera
