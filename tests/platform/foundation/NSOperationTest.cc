#include "platform/foundation/NSOperation.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace tessera {
namespace {

// Ends when the test says so.
class ManualOperation final : public NSOperation {
 public:
  void main() override { ++mainCalls; }
  void end() { finish(); }

  int mainCalls = 0;
};

TEST(NSOperation, GoesFromReadyToExecutingToFinished) {
  const auto operation = std::make_shared<ManualOperation>();
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_FALSE(operation->isFinished());
  operation->start();
  EXPECT_TRUE(operation->isExecuting());
  EXPECT_FALSE(operation->isFinished());
  operation->end();
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_TRUE(operation->isFinished());
  operation->waitUntilFinished();
}

TEST(NSOperation, StartsOnlyOnce) {
  const auto operation = std::make_shared<ManualOperation>();
  operation->start();
  operation->start();
  operation->end();
  operation->start();
  EXPECT_EQ(operation->mainCalls, 1);
}

TEST(NSOperation, FinishesWithoutItsWorkWhenCancelledBefore) {
  const auto operation = std::make_shared<ManualOperation>();
  operation->cancel();
  operation->cancel();
  EXPECT_TRUE(operation->isCancelled());
  EXPECT_FALSE(operation->isFinished());
  operation->start();
  EXPECT_EQ(operation->mainCalls, 0);
  EXPECT_TRUE(operation->isFinished());
}

TEST(NSOperation, StaysExecutingWhenCancelledUntilItEndsItself) {
  const auto operation = std::make_shared<ManualOperation>();
  operation->start();
  operation->cancel();
  EXPECT_TRUE(operation->isCancelled());
  EXPECT_TRUE(operation->isExecuting());
  operation->end();
  EXPECT_TRUE(operation->isFinished());
}

TEST(NSOperation, TellsOnceThatItHasFinished) {
  const auto operation = std::make_shared<ManualOperation>();
  std::vector<int> told;
  operation->whenFinished([&told] { told.push_back(1); });
  operation->whenFinished([&told] { told.push_back(2); });
  operation->start();
  EXPECT_TRUE(told.empty());
  operation->end();
  operation->end();
  EXPECT_EQ(told, (std::vector{1, 2}));
  operation->whenFinished([&told] { told.push_back(3); });
  EXPECT_EQ(told, (std::vector{1, 2, 3}));
}

TEST(NSOperation, SurvivesAHandlerThatDropsTheLastReference) {
  auto operation = std::make_shared<ManualOperation>();
  const std::weak_ptr<ManualOperation> observed = operation;
  ManualOperation* const plain = operation.get();
  bool second = false;
  operation->whenFinished([&operation] { operation.reset(); });
  operation->whenFinished([&second] { second = true; });
  plain->end();
  EXPECT_TRUE(second);
  EXPECT_TRUE(observed.expired());
}

TEST(NSOperation, LetsWaitersGoWhenItFinishesOnAnotherThread) {
  const auto operation = std::make_shared<ManualOperation>();
  operation->start();
  std::thread other([operation] { operation->end(); });
  operation->waitUntilFinished();
  EXPECT_TRUE(operation->isFinished());
  other.join();
}

}  // namespace
}  // namespace tessera
