#include "rpc/EventLoop.h"

#include <atomic>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kj/debug.h>

namespace tessera {
namespace {

// Returns once the loop has done what was posted before.
void settle(EventLoop& loop) {
  std::promise<void> done;
  ASSERT_TRUE(loop.post([&done] { done.set_value(); }));
  done.get_future().get();
}

TEST(EventLoop, RunsTasksInOrderOnItsThread) {
  EventLoop loop;
  std::vector<int> seen;
  std::thread::id thread;
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(loop.post([&seen, &thread, i] {
      seen.push_back(i);
      thread = std::this_thread::get_id();
    }));
  }
  settle(loop);
  ASSERT_EQ(seen.size(), 100u);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(seen[i], i);
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(EventLoop, KnowsItsThread) {
  EventLoop one;
  EventLoop other;
  EXPECT_FALSE(one.isCurrent());
  std::promise<std::pair<bool, bool>> seen;
  one.post([&] { seen.set_value({one.isCurrent(), other.isCurrent()}); });
  EXPECT_EQ(seen.get_future().get(), std::make_pair(true, false));
}

TEST(EventLoop, TakesTasksFromManyThreadsWithoutLosingOne) {
  std::atomic<int> count = 0;
  {
    EventLoop loop;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
      threads.emplace_back([&] {
        for (int i = 0; i < 5000; ++i) loop.post([&count] { ++count; });
      });
    }
    for (auto& thread : threads) thread.join();
  }
  EXPECT_EQ(count, 40000);
}

TEST(EventLoop, ReportsFailuresAndGoesOn) {
  std::vector<std::string> failures;
  {
    EventLoop loop([&failures](const kj::Exception& failure) {
      failures.emplace_back(failure.getDescription().cStr());
    });
    loop.post([] { KJ_FAIL_REQUIRE("a task"); });
    loop.post([] { throw std::runtime_error("a standard exception"); });
    loop.post([&loop] { loop.add(KJ_EXCEPTION(FAILED, "a promise")); });
    settle(loop);
    settle(loop);
  }
  ASSERT_EQ(failures.size(), 3u);
  EXPECT_NE(failures[0].find("a task"), std::string::npos);
  EXPECT_NE(failures[1].find("a standard exception"), std::string::npos);
  EXPECT_NE(failures[2].find("a promise"), std::string::npos);
}

TEST(EventLoop, RunsWhatItAcceptedBeforeItStops) {
  int ran = 0;
  {
    EventLoop loop;
    // From inside, so that some are posted after the order to stop.
    loop.post([&loop, &ran] {
      for (int i = 0; i < 10; ++i) loop.post([&ran] { ++ran; });
    });
  }
  EXPECT_EQ(ran, 10);
}

TEST(EventLoop, RefusesTasksAfterTheStopAndDestroysThem) {
  std::shared_ptr<LoopQueue> queue;
  {
    const EventLoop loop;
    queue = loop.queue();
  }
  const auto captured = std::make_shared<int>(0);
  EXPECT_FALSE(queue->post([captured] { ++*captured; }));
  EXPECT_EQ(captured.use_count(), 1);
  EXPECT_EQ(*captured, 0);
}

TEST(EventLoop, DropsItsPromisesOnItsOwnThreadWhenItStops) {
  std::thread::id dropped;
  std::thread::id thread;
  {
    EventLoop loop;
    loop.post([&] {
      thread = std::this_thread::get_id();
      loop.add(kj::Promise<void>(kj::NEVER_DONE).attach(kj::defer([&dropped] {
        dropped = std::this_thread::get_id();
      })));
    });
  }
  EXPECT_EQ(dropped, thread);
}

TEST(EventLoop, DropsAPromiseThatIsAddedWhileItStops) {
  auto kept = std::make_shared<int>(0);
  {
    EventLoop loop;
    loop.post([&loop, &kept] {
      loop.add(kj::Promise<void>(kj::NEVER_DONE).attach(kj::defer([&loop, &kept] {
        loop.add(kj::Promise<void>(kj::NEVER_DONE).attach(kj::defer([copy = kept] {})));
      })));
    });
  }
  EXPECT_EQ(kept.use_count(), 1);
}

TEST(EventLoop, FiresItsTimer) {
  EventLoop loop;
  std::promise<void> fired;
  loop.post([&] {
    loop.add(loop.timer().afterDelay(1 * kj::MILLISECONDS).then([&fired] { fired.set_value(); }));
  });
  fired.get_future().get();
}

TEST(EventLoop, RefusesToBeUsedFromAnotherThread) {
  EventLoop loop;
  EXPECT_THROW(static_cast<void>(loop.timer()), kj::Exception);
  EXPECT_THROW(loop.add(nullptr), kj::Exception);
}

TEST(EventLoop, TakesNoSignals) {
  EventLoop loop;
  std::promise<bool> blocked;
  loop.post([&blocked] {
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    blocked.set_value(::sigismember(&mask, SIGTERM) == 1);
  });
  EXPECT_TRUE(blocked.get_future().get());
  sigset_t mask;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(::sigismember(&mask, SIGTERM), 0);
}

}  // namespace
}  // namespace tessera
