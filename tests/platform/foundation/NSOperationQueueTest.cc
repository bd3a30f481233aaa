#include "platform/foundation/NSOperationQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "platform/foundation/NSOperation.h"

namespace tessera {
namespace {

// Does what it was given, and ends with it unless it is told to go on.
class TestOperation final : public NSOperation {
 public:
  enum class End { WithMain, Later };

  explicit TestOperation(std::function<void()> work, End end = End::WithMain)
      : _work(std::move(work)), _end(end) {}
  void main() override {
    _work();
    if (_end == End::WithMain) finish();
  }
  void end() { finish(); }

 private:
  const std::function<void()> _work;
  const End _end;
};

TEST(NSOperationQueue, RunsItsOperationsAtTheSameTime) {
  constexpr int kMeeting = 10;
  std::latch all(kMeeting);
  NSOperationQueue queue;
  for (int i = 0; i < kMeeting; ++i) {
    queue.addOperation(std::make_shared<TestOperation>([&all] { all.arrive_and_wait(); }));
  }
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(NSOperationQueue, RunsOperationsOnOtherThreads) {
  NSOperationQueue queue;
  std::thread::id ranOn;
  queue.addOperation(
      std::make_shared<TestOperation>([&ranOn] { ranOn = std::this_thread::get_id(); }));
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_NE(ranOn, std::thread::id());
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST(NSOperationQueue, KeepsAnOperationUntilItHasFinished) {
  std::latch returning(1);
  auto operation = std::make_shared<TestOperation>([&returning] { returning.count_down(); },
                                                   TestOperation::End::Later);
  const std::weak_ptr<TestOperation> observed = operation;
  {
    NSOperationQueue queue;
    queue.addOperation(std::move(operation));
    returning.wait();
    EXPECT_EQ(queue.operationCount(), 1U);
  }
  // The queue has gone, and nobody else holds the operation that still waits.
  ASSERT_FALSE(observed.expired());
  observed.lock()->end();
  EXPECT_TRUE(observed.expired());
}

TEST(NSOperationQueue, WaitsForRunningWorkBeforeItGoes) {
  std::atomic<bool> ended = false;
  std::latch entered(1);
  std::latch released(1);
  std::thread releaser;
  {
    NSOperationQueue queue;
    queue.addOperation(std::make_shared<TestOperation>([&entered, &released, &ended] {
      entered.count_down();
      released.wait();
      ended = true;
    }));
    entered.wait();
    releaser = std::thread([&released] { released.count_down(); });
  }
  EXPECT_TRUE(ended);
  releaser.join();
}

TEST(NSOperationQueue, RunsACancelledOperationToItsEndWithoutItsWork) {
  std::atomic<bool> ran = false;
  const auto operation = std::make_shared<TestOperation>([&ran] { ran = true; });
  operation->cancel();
  NSOperationQueue queue;
  queue.addOperation(operation);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(operation->isFinished());
  EXPECT_FALSE(ran);
}

TEST(NSOperationQueue, CountsWhatHasNotFinished) {
  NSOperationQueue queue;
  const auto first = std::make_shared<TestOperation>([] {}, TestOperation::End::Later);
  const auto second = std::make_shared<TestOperation>([] {}, TestOperation::End::Later);
  queue.addOperation(first);
  queue.addOperation(second);
  EXPECT_EQ(queue.operationCount(), 2U);
  first->end();
  EXPECT_EQ(queue.operationCount(), 1U);
  second->end();
  EXPECT_EQ(queue.operationCount(), 0U);
  queue.waitUntilAllOperationsAreFinished();
}

TEST(NSOperationQueue, TakesOperationsFromManyThreads) {
  NSOperationQueue queue;
  std::atomic<int> ran = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&queue, &ran] {
      for (int i = 0; i < 100; ++i) {
        queue.addOperation(std::make_shared<TestOperation>([&ran] { ++ran; }));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran, 400);
}

}  // namespace
}  // namespace tessera
