#include "content/GVFileProvidingRequestOperation.h"

#include <gtest/gtest.h>

#include "platform/foundation/NSOperationQueue.h"
#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/extension/ExtensionWorld.h"

namespace tessera {
namespace {

std::shared_ptr<GVFileProvidingRequestOperation> operationFor(
    std::uint64_t options, GVFileProvidingRequestOperation::Completion completion) {
  auto operation =
      std::make_shared<GVFileProvidingRequestOperation>(NSURL::fileURLWithPath("/tree/a"), options);
  operation->setFileProvidingCompletion(std::move(completion));
  return operation;
}

TEST(FileProvidingRequestOperation, WantsAnyVersionAndHasNoCompletionAtFirst) {
  GVFileProvidingRequestOperation operation(NSURL::fileURLWithPath("/tree/a"), 0);
  EXPECT_FALSE(operation.wantsCurrentVersion());
  EXPECT_FALSE(operation.fileProvidingCompletion());
  operation.setWantsCurrentVersion(true);
  EXPECT_TRUE(operation.wantsCurrentVersion());
}

TEST(FileProvidingRequestOperation, AsksTheDaemonInItsOwnName) {
  ExtensionWorld world;
  NSOperationQueue queue;
  const HandlerOnce<NSErrorPtr> done;
  const auto operation = operationFor(0x20005, done.handler());
  queue.addOperation(operation);
  const auto download = world.operations.downloads().take();
  EXPECT_EQ(operation, download.operation);
  EXPECT_EQ("/tree/a", download.url->path());
  EXPECT_EQ(0x20005U, download.readingOptions);
  EXPECT_FALSE(download.wantsCurrentVersion);
  EXPECT_FALSE(operation->isFinished());  // until the reply
  EXPECT_EQ(0U, done.calls());
  download.reply(nullptr);
  EXPECT_EQ(nullptr, done.value());
  EXPECT_TRUE(operation->isFinished());
}

TEST(FileProvidingRequestOperation, AsksForTheCurrentVersionWhenToldTo) {
  ExtensionWorld world;
  NSOperationQueue queue;
  const HandlerOnce<NSErrorPtr> done;
  const auto operation = operationFor(0, done.handler());
  operation->setWantsCurrentVersion(true);
  queue.addOperation(operation);
  const auto download = world.operations.downloads().take();
  EXPECT_TRUE(download.wantsCurrentVersion);
  download.reply(nullptr);
}

TEST(FileProvidingRequestOperation, HandsTheDaemonsErrorOnAsItIs) {
  ExtensionWorld world;
  NSOperationQueue queue;
  const HandlerOnce<NSErrorPtr> done;
  queue.addOperation(operationFor(0, done.handler()));
  const auto error = NSError::errorWithDomain(NSCocoaErrorDomain, 4354);  // has a translation
  world.operations.downloads().take().reply(error);
  EXPECT_EQ(error, done.value());
}

TEST(FileProvidingRequestOperation, RunsTheCompletionBeforeItCountsAsFinished) {
  ExtensionWorld world;
  NSOperationQueue queue;
  std::shared_ptr<GVFileProvidingRequestOperation> operation;
  bool finishedWithin = true;
  bool completionWithin = false;
  operation = operationFor(0, [&](const NSErrorPtr&) {
    finishedWithin = operation->isFinished();
    completionWithin = static_cast<bool>(operation->fileProvidingCompletion());
  });
  operation->whenFinished([&world] { world.calls->record("finished"); });
  queue.addOperation(operation);
  world.operations.downloads().take().reply(nullptr);
  operation->waitUntilFinished();
  EXPECT_FALSE(finishedWithin);
  EXPECT_TRUE(completionWithin);
  EXPECT_EQ(1U, world.calls->count("finished"));
}

TEST(FileProvidingRequestOperation, LetsGoOfTheCompletionWhenItFinishes) {
  ExtensionWorld world;
  NSOperationQueue queue;
  auto captured = std::make_shared<int>(1);
  const std::weak_ptr<int> weak = captured;
  const auto operation = operationFor(0, [captured](const NSErrorPtr&) {});
  captured = nullptr;
  bool emptyWhenFinished = false;
  operation->whenFinished([&, raw = operation.get()] {
    emptyWhenFinished = !raw->fileProvidingCompletion() && weak.expired();
  });
  queue.addOperation(operation);
  EXPECT_FALSE(weak.expired());
  world.operations.downloads().take().reply(nullptr);
  EXPECT_FALSE(operation->fileProvidingCompletion());
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(emptyWhenFinished);
}

TEST(FileProvidingRequestOperation, EndsOnceWhenItIsCancelledAndThenAnswered) {
  ExtensionWorld world;
  NSOperationQueue queue;
  const HandlerOnce<NSErrorPtr> done;
  const auto operation = operationFor(0, done.handler());
  queue.addOperation(operation);
  const auto download = world.operations.downloads().take();
  operation->cancel();
  EXPECT_EQ(NSCocoaErrorDomain, done.value()->domain());
  EXPECT_EQ(3072, done.value()->code());
  EXPECT_TRUE(operation->isFinished());
  EXPECT_EQ(1U, world.calls->count("operation.cancel"));
  download.reply(nullptr);
  operation->cancel();
  EXPECT_EQ(1U, done.calls());
}

TEST(FileProvidingRequestOperation, EndsOnceWhenItIsCancelledBeforeItRuns) {
  ExtensionWorld world;
  const HandlerOnce<NSErrorPtr> done;
  {
    NSOperationQueue queue;
    const auto operation = operationFor(0, done.handler());
    operation->cancel();
    EXPECT_EQ(0U, done.calls());
    queue.addOperation(operation);
    operation->waitUntilFinished();
  }
  EXPECT_EQ(3072, done.value()->code());
  EXPECT_EQ(0U, world.operations.downloads().size());
}

TEST(FileProvidingRequestOperation, IsKeptByTheReply) {
  ExtensionWorld world;
  const HandlerOnce<NSErrorPtr> done;
  auto operation = operationFor(0, done.handler());
  const std::weak_ptr<GVFileProvidingRequestOperation> weak = operation;
  operation->start();
  operation = nullptr;
  EXPECT_FALSE(weak.expired());
  world.operations.downloads().take().reply(nullptr);
  EXPECT_EQ(nullptr, done.value());
  EXPECT_TRUE(weak.expired());
}

TEST(ReadingOptions, ArePrintedByName) {
  EXPECT_EQ("without-changes", GVCPrettyPrintBitmap(0x1, kReadingOptionNames));
  EXPECT_EQ("resolves-symbolic-link", GVCPrettyPrintBitmap(0x2, kReadingOptionNames));
  EXPECT_EQ("metadata-ony", GVCPrettyPrintBitmap(0x4, kReadingOptionNames));
  EXPECT_EQ("for-uploading", GVCPrettyPrintBitmap(0x8, kReadingOptionNames));
  EXPECT_EQ("without-changes|for-uploading|0x20000",
            GVCPrettyPrintBitmap(0x20009, kReadingOptionNames));
}

}  // namespace
}  // namespace tessera
