#include "platform/dispatch/DispatchQueue.h"

#include <gtest/gtest.h>

#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tessera {
namespace {

// Keeps a queue busy with asynchronous work until released.
class Blockade {
 public:
  explicit Blockade(const DispatchQueuePtr& queue) {
    queue->async([this] {
      _entered.count_down();
      _released.wait();
    });
    _entered.wait();
  }
  void release() { _released.count_down(); }

 private:
  std::latch _entered{1};
  std::latch _released{1};
};

TEST(DispatchQueue, RunsSyncOnTheCallingThreadWhenIdle) {
  const auto queue = DispatchQueue::serial("idle");
  std::thread::id ranOn;
  queue->sync([&ranOn] { ranOn = std::this_thread::get_id(); });
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(DispatchQueue, RunsAsyncOnAnotherThread) {
  const auto queue = DispatchQueue::serial("async");
  std::promise<std::thread::id> ranOn;
  queue->async([&ranOn] { ranOn.set_value(std::this_thread::get_id()); });
  EXPECT_NE(ranOn.get_future().get(), std::this_thread::get_id());
}

TEST(DispatchQueue, RunsAsyncWorkInTheOrderGiven) {
  const auto queue = DispatchQueue::serial("order");
  std::vector<int> order;
  std::vector<int> expected;
  for (int i = 0; i < 1000; ++i) {
    queue->async([&order, i] { order.push_back(i); });
    expected.push_back(i);
  }
  queue->sync([] {});
  EXPECT_EQ(order, expected);
}

TEST(DispatchQueue, RunsSyncBehindTheAsyncWorkGivenBefore) {
  const auto queue = DispatchQueue::serial("turn");
  std::vector<int> order;
  Blockade blockade(queue);
  queue->async([&order] { order.push_back(1); });
  queue->async([&order] { order.push_back(2); });
  std::thread caller([&queue, &order] { queue->sync([&order] { order.push_back(3); }); });
  blockade.release();
  caller.join();
  queue->async([&order] { order.push_back(4); });
  queue->sync([&order] { order.push_back(5); });
  EXPECT_EQ(order, (std::vector{1, 2, 3, 4, 5}));
}

TEST(DispatchQueue, NeverRunsTwoPiecesOfWorkAtOnce) {
  const auto queue = DispatchQueue::serial("exclusive");
  constexpr int kThreads = 8;
  constexpr int kRounds = 5000;
  long counter = 0;  // unguarded: only the queue keeps it right
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&queue, &counter, &start, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) {
        if ((i + t) % 3 == 0) {
          queue->async([&counter] { ++counter; });
        } else {
          queue->sync([&counter] { ++counter; });
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  queue->sync([] {});
  EXPECT_EQ(counter, long{kThreads} * kRounds);
}

TEST(DispatchQueue, KeepsEachThreadsOwnOrderUnderContention) {
  const auto queue = DispatchQueue::serial("own order");
  constexpr int kThreads = 4;
  std::vector<std::vector<int>> order(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&queue, &mine = order[static_cast<std::size_t>(t)]] {
      for (int i = 0; i < 2000; i += 2) {
        queue->async([&mine, i] { mine.push_back(i); });
        queue->sync([&mine, i] { mine.push_back(i + 1); });
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& mine : order) {
    ASSERT_EQ(mine.size(), 2000U);
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(mine[static_cast<std::size_t>(i)], i);
  }
}

TEST(DispatchQueue, IsCurrentForEveryQueueTheThreadIsIn) {
  const auto outer = DispatchQueue::serial("outer");
  const auto inner = DispatchQueue::serial("inner");
  const auto other = DispatchQueue::serial("other");
  EXPECT_FALSE(outer->isCurrent());
  outer->sync([&] {
    EXPECT_TRUE(outer->isCurrent());
    EXPECT_FALSE(inner->isCurrent());
    inner->sync([&] {
      EXPECT_TRUE(outer->isCurrent());
      EXPECT_TRUE(inner->isCurrent());
      EXPECT_FALSE(other->isCurrent());
      outer->assertOnQueue();
    });
    EXPECT_TRUE(outer->isCurrent());
    EXPECT_FALSE(inner->isCurrent());
  });
  EXPECT_FALSE(outer->isCurrent());
}

TEST(DispatchQueue, IsCurrentInAsyncWorkAndOnNoOtherThread) {
  const auto queue = DispatchQueue::serial("current");
  std::promise<bool> current;
  std::latch checked(1);
  queue->async([&] {
    current.set_value(queue->isCurrent());
    checked.wait();
  });
  EXPECT_TRUE(current.get_future().get());
  EXPECT_FALSE(queue->isCurrent());
  checked.count_down();
  queue->sync([] {});
}

TEST(DispatchQueue, TakesAsyncWorkFromItsOwnWork) {
  const auto queue = DispatchQueue::serial("again");
  std::vector<int> order;
  std::promise<void> ended;
  queue->sync([&] {
    queue->async([&] {
      order.push_back(2);
      queue->async([&ended] { ended.set_value(); });
    });
    order.push_back(1);
  });
  ended.get_future().wait();
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(DispatchQueue, StaysAliveWhileAsyncWorkIsWaiting) {
  std::promise<void> ended;
  std::weak_ptr<DispatchQueue> observed;
  {
    const auto queue = DispatchQueue::serial("brief");
    observed = queue;
    queue->async([&observed, &ended] {
      EXPECT_FALSE(observed.expired());
      ended.set_value();
    });
  }
  ended.get_future().wait();
}

TEST(DispatchQueue, LetsGoOnTheQueueOfWhatAsyncWorkCaptured) {
  const auto queue = DispatchQueue::serial("release");
  struct Witness {
    ~Witness() { goneOnQueue = queue.isCurrent(); }
    const DispatchQueue& queue;
    bool& goneOnQueue;
  };
  bool goneOnQueue = false;
  queue->async(
      [held = std::shared_ptr<Witness>(new Witness{*queue, goneOnQueue})] { EXPECT_TRUE(held); });
  queue->sync([&goneOnQueue] { EXPECT_TRUE(goneOnQueue); });
}

TEST(DispatchQueue, ManyQueuesThatCallEachOtherInOneDirectionComeToAnEnd) {
  std::vector<DispatchQueuePtr> chain;
  for (int i = 0; i < 6; ++i) chain.push_back(DispatchQueue::serial("chain"));
  int visits = 0;  // guarded by the last queue
  std::vector<std::thread> threads;
  for (std::size_t first = 0; first + 1 < chain.size(); ++first) {
    threads.emplace_back([&chain, &visits, first] {
      for (int i = 0; i < 500; ++i) {
        chain[first]->sync([&] { chain.back()->sync([&visits] { ++visits; }); });
        chain[first]->async([&] { chain.back()->sync([&visits] { ++visits; }); });
      }
      chain[first]->sync([] {});
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(visits, 5 * 500 * 2);
}

TEST(DispatchQueueDeathTest, RefusesSyncFromItsOwnWork) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto queue = DispatchQueue::serial("selfish");
  EXPECT_DEATH(queue->sync([&queue] { queue->sync([] {}); }), "\"selfish\": sync\\(\\)");
}

TEST(DispatchQueueDeathTest, NamesTheQueueWhenTheThreadIsNotOnIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto queue = DispatchQueue::serial("file-enumerator");
  EXPECT_DEATH(queue->assertOnQueue(), "\"file-enumerator\": not on this queue");
}

TEST(DispatchQueueDeathTest, EndsTheProcessWhenWorkThrows) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto queue = DispatchQueue::serial("throwing");
  EXPECT_DEATH(
      {
        try {
          queue->sync([] { throw std::runtime_error("lost"); });
        } catch (const std::runtime_error&) {
        }
      },
      "lost");
}

}  // namespace
}  // namespace tessera
