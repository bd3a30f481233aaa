#include "rpc/CallbackPool.h"

#include <atomic>
#include <future>
#include <memory>

#include <gtest/gtest.h>

namespace tessera {
namespace {

TEST(CallbackPool, RunsEverythingBeforeItIsGone) {
  std::atomic<int> ran = 0;
  {
    CallbackPool pool(2);
    for (int i = 0; i < 1000; ++i) {
      pool.post([&ran, &pool, i] {
        ++ran;
        if (i % 10 == 0) pool.post([&ran] { ++ran; });
      });
    }
  }
  EXPECT_EQ(ran, 1100);
}

TEST(CallbackPool, RunsACallbackThatAnotherOneWaitsFor) {
  CallbackPool pool;
  std::promise<void> last;
  std::shared_future<void> done = last.get_future().share();
  std::promise<void> allDone;
  std::atomic<int> waiting = 10;
  for (int i = 0; i < 10; ++i) {
    pool.post([done, &waiting, &allDone] {
      done.get();
      if (--waiting == 0) allDone.set_value();
    });
  }
  pool.post([&last] { last.set_value(); });
  allDone.get_future().get();
}

TEST(CallbackPool, NeverExceedsItsLimit) {
  std::atomic<int> running = 0;
  std::atomic<int> most = 0;
  {
    CallbackPool pool(3);
    for (int i = 0; i < 500; ++i) {
      pool.post([&] {
        const int now = ++running;
        for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
        }
        --running;
      });
    }
  }
  EXPECT_LE(most, 3);
  EXPECT_GE(most, 1);
}

TEST(CallbackPool, DropsWhatACallbackHeldBeforeTheNextOne) {
  CallbackPool pool(1);
  auto held = std::make_shared<int>(1);
  std::weak_ptr<int> watched = held;
  pool.post([held = std::move(held)] {});
  std::promise<bool> gone;
  pool.post([&] { gone.set_value(watched.expired()); });
  EXPECT_TRUE(gone.get_future().get());
}

}  // namespace
}  // namespace tessera
