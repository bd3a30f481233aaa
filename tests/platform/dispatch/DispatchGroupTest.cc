#include "platform/dispatch/DispatchGroup.h"

#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

namespace tessera {
namespace {

TEST(DispatchGroup, NotifiesAtOnceWhenNobodyIsInside) {
  DispatchGroup group;
  const auto queue = DispatchQueue::serial("notified");
  bool onQueue = false;
  group.notify(queue, [&onQueue, &queue] { onQueue = queue->isCurrent(); });
  queue->sync([] {});
  EXPECT_TRUE(onQueue);
}

TEST(DispatchGroup, NotifiesOnceAfterTheLastLeave) {
  DispatchGroup group;
  const auto queue = DispatchQueue::serial("notified");
  int notified = 0;
  group.enter();
  group.enter();
  group.notify(queue, [&notified] { ++notified; });
  group.leave();
  queue->sync([&notified] { EXPECT_EQ(notified, 0); });
  group.leave();
  queue->sync([&notified] { EXPECT_EQ(notified, 1); });
  group.enter();
  group.leave();
  queue->sync([&notified] { EXPECT_EQ(notified, 1); });
}

TEST(DispatchGroup, RunsEveryNotificationInTheOrderAsked) {
  DispatchGroup group;
  const auto queue = DispatchQueue::serial("notified");
  std::vector<int> order;
  group.enter();
  for (int i = 0; i < 3; ++i) group.notify(queue, [&order, i] { order.push_back(i); });
  group.leave();
  queue->sync([] {});
  EXPECT_EQ(order, (std::vector{0, 1, 2}));
}

TEST(DispatchGroup, LetsWaitersGoWhenEverybodyHasLeft) {
  DispatchGroup group;
  constexpr int kThreads = 8;
  std::vector<int> results(kThreads);
  std::vector<std::thread> threads;
  for (int& result : results) {
    group.enter();
    threads.emplace_back([&group, &result] {
      result = 1;
      group.leave();
    });
  }
  group.wait();
  EXPECT_EQ(results, std::vector<int>(kThreads, 1));
  for (auto& thread : threads) thread.join();
  group.wait();
}

TEST(DispatchGroupDeathTest, RefusesToBeLeftMoreOftenThanEntered) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  DispatchGroup group;
  group.enter();
  group.leave();
  EXPECT_DEATH(group.leave(), "left more often than entered");
}

}  // namespace
}  // namespace tessera
