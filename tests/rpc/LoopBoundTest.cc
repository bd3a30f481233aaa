#include "rpc/LoopBound.h"

#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "rpc/EventLoop.h"

namespace tessera {
namespace {

// Notes where it died.
struct Mortal {
  explicit Mortal(std::function<void()> f) : onDeath(std::move(f)) {}
  Mortal(Mortal&& other) noexcept : onDeath(std::exchange(other.onDeath, nullptr)) {}
  ~Mortal() {
    if (onDeath) onDeath();
  }
  std::function<void()> onDeath;
};

template <class T>
LoopBound<T> made(EventLoop& loop, std::function<T()> make) {
  std::promise<LoopBound<T>> result;
  loop.post([&] { result.set_value(LoopBound<T>(loop, make())); });
  return result.get_future().get();
}

TEST(LoopBound, DiesOnTheLoopWhenItsLastCopyGoesElsewhere) {
  EventLoop loop;
  std::promise<bool> diedOnLoop;
  auto bound =
      made<Mortal>(loop, [&] { return Mortal([&] { diedOnLoop.set_value(loop.isCurrent()); }); });
  auto copy = bound;
  bound.reset();
  std::thread([copy = std::move(copy)]() mutable { copy.reset(); }).join();
  EXPECT_TRUE(diedOnLoop.get_future().get());
}

TEST(LoopBound, SharesItsValueBetweenCopies) {
  EventLoop loop;
  const auto bound = made<std::string>(loop, [] { return std::string("a"); });
  std::promise<std::string> seen;
  loop.post([one = bound, other = bound, &seen] {
    one.get() += "b";
    seen.set_value(other.get());
  });
  EXPECT_EQ(seen.get_future().get(), "ab");
}

TEST(LoopBound, IsRefusedToOtherThreads) {
  EventLoop loop;
  const auto bound = made<int>(loop, [] { return 1; });
  EXPECT_THROW(static_cast<void>(bound.get()), kj::Exception);
  EXPECT_THROW(static_cast<void>(LoopBound<int>().get()), kj::Exception);
  EXPECT_FALSE(LoopBound<int>());
  EXPECT_TRUE(bound);
}

TEST(LoopBound, DiesWithTheLoopYoungestFirstAndIsAnEmptyShellAfterwards) {
  std::string deaths;
  LoopBound<Mortal> elder;
  LoopBound<Mortal> younger;
  {
    EventLoop loop;
    const auto note = [&deaths, &loop](char name) {
      return [&deaths, &loop, name] { deaths += loop.isCurrent() ? name : '!'; };
    };
    elder = made<Mortal>(loop, [&] { return Mortal(note('1')); });
    younger = made<Mortal>(loop, [&] { return Mortal(note('2')); });
  }
  EXPECT_EQ(deaths, "21");
  EXPECT_THROW(static_cast<void>(elder.get()), kj::Exception);
  elder.reset();
  younger.reset();
  EXPECT_EQ(deaths, "21");
}

TEST(LoopBound, MayHoldAnotherOne) {
  int deaths = 0;
  EventLoop loop;
  auto outer = made<LoopBound<Mortal>>(
      loop, [&] { return LoopBound<Mortal>(loop, Mortal([&deaths] { ++deaths; })); });
  outer.reset();
  std::promise<int> seen;
  loop.post([&] { seen.set_value(deaths); });
  EXPECT_EQ(seen.get_future().get(), 1);
}

TEST(LoopBound, SurvivesARaceBetweenItsDropsAndTheStop) {
  for (int round = 0; round < 50; ++round) {
    std::atomic<int> deaths = 0;
    std::vector<std::thread> threads;
    {
      EventLoop loop;
      for (int t = 0; t < 4; ++t) {
        auto bound = made<Mortal>(loop, [&] { return Mortal([&deaths] { ++deaths; }); });
        threads.emplace_back([bound = std::move(bound)]() mutable { bound.reset(); });
      }
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(deaths, 4);
  }
}

}  // namespace
}  // namespace tessera
