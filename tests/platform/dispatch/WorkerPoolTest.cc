#include "platform/dispatch/WorkerPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tessera {
namespace {

using namespace std::chrono_literals;

constexpr auto kForever = 1h;  // no thread ends by itself during a test

TEST(WorkerPool, AddsThreadsWhileAllAreBusy) {
  WorkerPool pool(kForever);
  constexpr int kMeeting = 20;
  std::latch all(kMeeting);  // passes only once every piece of work runs at the same time
  for (int i = 0; i < kMeeting; ++i) {
    pool.run([&all] { all.arrive_and_wait(); });
  }
  all.wait();
  EXPECT_EQ(pool.threadCount(), kMeeting);
}

TEST(WorkerPool, RunsWorkThatWaitsForLaterWork) {
  WorkerPool pool(kForever);
  std::promise<void> later;
  std::promise<void> earlier;
  pool.run([&later, &earlier] {
    later.get_future().wait();
    earlier.set_value();
  });
  pool.run([&later] { later.set_value(); });
  earlier.get_future().wait();
}

TEST(WorkerPool, UsesFreeThreadsAgain) {
  WorkerPool pool(kForever);
  constexpr std::size_t kRounds = 1000;
  for (std::size_t round = 0; round < kRounds; ++round) {
    std::promise<void> ran;
    pool.run([&ran] { ran.set_value(); });
    ran.get_future().wait();
  }
  // A round may come before the last one's thread is free again, but not each of them.
  EXPECT_LT(pool.threadCount(), kRounds / 2);
}

TEST(WorkerPool, EndsThreadsThatFindNothingToDo) {
  WorkerPool pool(0ms);
  std::promise<void> ran;
  pool.run([&ran] { ran.set_value(); });
  ran.get_future().wait();
  while (pool.threadCount() > 0) std::this_thread::yield();
  std::promise<void> again;
  pool.run([&again] { again.set_value(); });
  again.get_future().wait();
}

TEST(WorkerPool, RunsEverythingItWasGivenBeforeItIsDestroyed) {
  std::atomic<int> ran = 0;
  {
    WorkerPool pool(kForever);
    for (int i = 0; i < 50; ++i) {
      pool.run([&pool, &ran] {
        ++ran;
        pool.run([&ran] { ++ran; });
      });
    }
  }
  EXPECT_EQ(ran, 100);
}

TEST(WorkerPool, LosesNoWorkWhileThreadsComeAndGo) {
  std::atomic<int> ran = 0;
  {
    WorkerPool pool(0ms);
    std::thread other([&pool, &ran] {
      for (int i = 0; i < 1000; ++i) pool.run([&ran] { ++ran; });
    });
    for (int i = 0; i < 1000; ++i) pool.run([&ran] { ++ran; });
    other.join();
  }
  EXPECT_EQ(ran, 2000);
}

TEST(WorkerPool, LetsGoOfWorkOnceItHasRun) {
  auto captured = std::make_shared<int>(0);
  const std::weak_ptr<int> observed = captured;
  {
    WorkerPool pool(kForever);
    pool.run([held = std::move(captured)] { ++*held; });
  }
  EXPECT_TRUE(observed.expired());
}

TEST(WorkerPoolDeathTest, EndsTheProcessWhenWorkThrows) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        WorkerPool pool(kForever);
        pool.run([] { throw std::runtime_error("lost"); });
      },
      "lost");
}

}  // namespace
}  // namespace tessera
