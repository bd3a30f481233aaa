#include "platform/foundation/NSNotificationCenter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace tessera {
namespace {

TEST(NSNotificationCenter, CallsTheObserversOfANameInOrderOfRegistration) {
  NSNotificationCenter center;
  std::vector<int> calls;
  center.addObserver(&center, "name", [&calls] { calls.push_back(1); });
  center.addObserver(&center, "other", [&calls] { calls.push_back(2); });
  center.addObserver(&calls, "name", [&calls] { calls.push_back(3); });
  center.postNotification("name");
  EXPECT_EQ(calls, (std::vector{1, 3}));
  center.postNotification("nobody's");
  EXPECT_EQ(calls, (std::vector{1, 3}));
}

TEST(NSNotificationCenter, RunsHandlersOnThePostingThread) {
  NSNotificationCenter center;
  std::thread::id ranOn;
  center.addObserver(&center, "name", [&ranOn] { ranOn = std::this_thread::get_id(); });
  std::thread::id posted;
  std::thread thread([&center, &posted] {
    posted = std::this_thread::get_id();
    center.postNotification("name");
  });
  thread.join();
  EXPECT_EQ(ranOn, posted);
}

TEST(NSNotificationCenter, ForgetsAnObserverForOneNameOrForAll) {
  NSNotificationCenter center;
  int first = 0;
  int second = 0;
  center.addObserver(&first, "a", [&first] { ++first; });
  center.addObserver(&first, "b", [&first] { ++first; });
  center.addObserver(&second, "a", [&second] { ++second; });
  center.removeObserver(&first, "a");
  center.postNotification("a");
  center.postNotification("b");
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 1);
  center.removeObserver(&first);
  center.postNotification("b");
  center.postNotification("a");
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 2);
}

TEST(NSNotificationCenter, LetsHandlersRegisterRemoveAndPost) {
  NSNotificationCenter center;
  std::vector<int> calls;
  center.addObserver(&calls, "name", [&center, &calls] {
    calls.push_back(1);
    center.removeObserver(&calls);
    center.addObserver(&calls, "later", [&calls] { calls.push_back(2); });
    center.postNotification("later");
  });
  center.postNotification("name");
  center.postNotification("name");
  EXPECT_EQ(calls, (std::vector{1, 2}));
}

TEST(NSNotificationCenter, LetsGoOfTheHandlerOfARemovedObserver) {
  NSNotificationCenter center;
  // What the handler held calls the centre when it goes.
  struct Leaving {
    explicit Leaving(NSNotificationCenter& left) : center(left) {}
    ~Leaving() { center.removeObserver(this); }
    NSNotificationCenter& center;
  };
  auto leaving = std::make_shared<Leaving>(center);
  const std::weak_ptr<Leaving> observed = leaving;
  int observer = 0;
  center.addObserver(&observer, "name", [held = std::move(leaving)] { EXPECT_TRUE(held); });
  center.removeObserver(&observer);
  EXPECT_TRUE(observed.expired());
}

TEST(NSNotificationCenter, TakesRegistrationsAndPostsFromManyThreads) {
  NSNotificationCenter center;
  std::atomic<int> calls = 0;
  int witness = 0;
  center.addObserver(&witness, "name", [&calls] { ++calls; });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&center, &calls] {
      for (int i = 0; i < 500; ++i) {
        const int observer = i;
        center.addObserver(&observer, "name", [&calls] { ++calls; });
        center.postNotification("name");
        center.removeObserver(&observer, "name");
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_GE(calls, 4000);  // the witness and the poster's own observer, each time
  calls = 0;
  center.postNotification("name");
  EXPECT_EQ(calls, 1);
}

TEST(NSNotificationCenter, HasOneCentreForTheProcess) {
  EXPECT_EQ(&NSNotificationCenter::defaultCenter(), &NSNotificationCenter::defaultCenter());
}

}  // namespace
}  // namespace tessera
