#include "platform/tessera/GVOperation.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/tessera/FakeOperationRemote.h"

namespace tessera {
namespace {

// Sends a request and tells how it ended.
class Requesting final : public GVOperation {
 public:
  void main() override {
    const auto self = std::static_pointer_cast<GVOperation>(shared_from_this());
    remoteObject()->startOperation(
        self, NSURL::fileURLWithPath("/tree/a"), 0, false,
        [self](const NSErrorPtr& error) { self->completedWithResult(nullptr, error); });
  }

  HandlerOnce<NSErrorPtr> ended;

 protected:
  void finishWithResult(const NSObjectPtr& result, const NSErrorPtr& error) override {
    EXPECT_FALSE(isFinished());
    ended.handler()(error);
    GVOperation::finishWithResult(result, error);
    EXPECT_TRUE(isFinished());
  }
};

TEST(GVOperation, EndsWithTheReply) {
  FakeOperationRemote remote(std::make_shared<CallRecorder>());
  const auto operation = std::make_shared<Requesting>();
  operation->start();
  EXPECT_FALSE(operation->isFinished());
  const auto error = NSError::errorWithDomain("domain", 1);
  remote.downloads().take().reply(error);
  EXPECT_EQ(error, operation->ended.value());
}

TEST(GVOperation, KeepsOneRemoteObject) {
  const FakeOperationRemote remote(std::make_shared<CallRecorder>());
  const auto operation = std::make_shared<Requesting>();
  EXPECT_EQ(operation->remoteObject(), operation->remoteObject());
  operation->completedWithResult(nullptr, nullptr);
}

TEST(GVOperation, CountsTheFirstCompletionOnly) {
  const auto operation = std::make_shared<Requesting>();
  const auto error = NSError::errorWithDomain("domain", 1);
  operation->completedWithResult(nullptr, error);
  operation->completedWithResult(nullptr, nullptr);
  EXPECT_EQ(error, operation->ended.value());
}

TEST(GVOperation, EndsAtOnceWhenItIsCancelled) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeOperationRemote remote(calls);
  const auto operation = std::make_shared<Requesting>();
  operation->start();
  const auto download = remote.downloads().take();
  operation->cancel();
  EXPECT_EQ(NSCocoaErrorDomain, operation->ended.value()->domain());
  EXPECT_EQ(3072, operation->ended.value()->code());
  EXPECT_EQ(1U, calls->count("operation.cancel"));
  download.reply(nullptr);
}

TEST(GVOperation, AsksForNothingWhenItWasCancelledBeforeItsStart) {
  FakeOperationRemote remote(std::make_shared<CallRecorder>());
  const auto operation = std::make_shared<Requesting>();
  operation->cancel();
  EXPECT_FALSE(operation->isFinished());
  operation->start();
  EXPECT_EQ(3072, operation->ended.value()->code());
  EXPECT_EQ(0U, remote.downloads().size());
}

TEST(GVOperation, EndsOnceWhenReplyAndCancellationRace) {
  FakeOperationRemote remote(std::make_shared<CallRecorder>());
  for (int i = 0; i < 200; ++i) {
    const auto operation = std::make_shared<Requesting>();
    operation->start();
    const auto download = remote.downloads().take();
    std::thread canceller([&operation] { operation->cancel(); });
    download.reply(nullptr);
    canceller.join();
    operation->waitUntilFinished();
    EXPECT_EQ(1U, operation->ended.calls());
  }
}

}  // namespace
}  // namespace tessera
