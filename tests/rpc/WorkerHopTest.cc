#include "rpc/WorkerHop.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "rpc/Call.h"
#include "rpc/CallbackPool.h"
#include "rpc/EventLoop.h"

namespace tessera {
namespace {

using Task = std::function<void()>;

TEST(WorkerHop, WorksElsewhereAndAnswersOnTheLoop) {
  CallbackPool workers;
  EventLoop loop;
  bool workedOnLoop = true;
  const auto sum = callBlocking<int>(loop, [&] {
    return onWorker<int>(
               loop, [&](Task task) { workers.post(std::move(task)); },
               [&] {
                 workedOnLoop = loop.isCurrent();
                 return 40;
               })
        .then([&](int answer) { return answer + (loop.isCurrent() ? 2 : 0); });
  });
  ASSERT_TRUE(sum.ok());
  EXPECT_EQ(sum.value(), 42);
  EXPECT_FALSE(workedOnLoop);
}

TEST(WorkerHop, CarriesWhatTheWorkThrows) {
  CallbackPool workers;
  EventLoop loop;
  const auto failed = callBlocking<void>(loop, [&] {
    return onWorker<void>(
        loop, [&](Task task) { workers.post(std::move(task)); },
        [] { throw std::runtime_error("the store is full"); });
  });
  ASSERT_FALSE(failed.ok());
  EXPECT_EQ(failed.failure().kind, RpcFailure::Kind::Failed);
  EXPECT_NE(failed.failure().text.find("the store is full"), std::string::npos);
}

TEST(WorkerHop, FailsWhenTheTaskIsDropped) {
  EventLoop loop;
  const auto failed = callBlocking<void>(loop, [&] {
    return onWorker<void>(
        loop, [](const Task&) {}, [] {});
  });
  ASSERT_FALSE(failed.ok());
  EXPECT_EQ(failed.failure().kind, RpcFailure::Kind::Failed);
}

TEST(WorkerHop, LeavesATaskThatOutlivesTheLoopAlone) {
  Task kept;
  int worked = 0;
  {
    EventLoop loop;
    const auto call = startCall<void>(loop, [&] {
      return onWorker<void>(
          loop, [&kept](Task task) { kept = std::move(task); }, [&worked] { ++worked; });
    });
  }
  kept();
  EXPECT_EQ(worked, 1);
}

}  // namespace
}  // namespace tessera
