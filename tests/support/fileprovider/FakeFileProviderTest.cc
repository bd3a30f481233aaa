#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "tests/support/fileprovider/FakeChangeObserver.h"
#include "tests/support/fileprovider/FakeEnumerationObserver.h"
#include "tests/support/fileprovider/FakeFileProviderManager.h"

namespace tessera {
namespace {

TEST(FakeEnumerationObserver, KeepsWhatItWasGivenAndTheOrder) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeEnumerationObserver observer(calls);
  EXPECT_FALSE(observer.isFinished());
  observer.didEnumerateItems({nullptr});
  observer.didEnumerateItems({nullptr, nullptr});
  const auto page = NSData::dataWithText("next");
  observer.finishEnumeratingUpToPage(page);
  EXPECT_EQ(3U, observer.items().size());
  EXPECT_EQ(page, observer.page());
  EXPECT_EQ(nullptr, observer.error());
  EXPECT_EQ((std::vector<std::string>{"observer.didEnumerateItems(1)",
                                      "observer.didEnumerateItems(2)", "observer.finishUpToPage"}),
            calls->calls());
}

TEST(FakeEnumerationObserver, FailsTheTestWhenItIsNotFinished) {
  EXPECT_NONFATAL_FAILURE(
      { const FakeEnumerationObserver observer(std::make_shared<CallRecorder>()); },
      "exactly once");
}

TEST(FakeEnumerationObserver, FailsTheTestWhenItIsFinishedTwice) {
  EXPECT_NONFATAL_FAILURE(
      {
        FakeEnumerationObserver observer(std::make_shared<CallRecorder>());
        observer.finishEnumeratingUpToPage(nullptr);
        observer.finishEnumeratingWithError(nullptr);
      },
      "exactly once");
}

TEST(FakeChangeObserver, KeepsABatchAndRunsTheHookInEveryCall) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeChangeObserver observer(calls);
  observer.whenCalled([calls] { calls->record("hook"); });
  observer.didUpdateItems({nullptr});
  observer.didDeleteItemsWithIdentifiers({"gone"});
  observer.finishEnumeratingChangesUpToSyncAnchor(NSData::dataWithText("anchor"), true);
  const auto batch = observer.batch();
  EXPECT_EQ(1U, batch.updated.size());
  EXPECT_EQ((std::vector<std::string>{"gone"}), batch.deleted);
  EXPECT_TRUE(batch.anchor->isEqualToData(*NSData::dataWithText("anchor")));
  EXPECT_TRUE(batch.moreComing);
  EXPECT_EQ(
      (std::vector<std::string>{"hook", "observer.didUpdateItems(1)", "hook",
                                "observer.didDeleteItems(1)", "hook", "observer.finishUpToAnchor"}),
      calls->calls());
}

TEST(FakeFileProviderManager, LeavesTheAnswerToTheTest) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeFileProviderManager manager(calls);
  HandlerOnce<NSErrorPtr> answered;
  manager.signalEnumeratorForContainerItemIdentifier("folder", answered.handler());
  EXPECT_EQ(0U, answered.calls());
  EXPECT_EQ((std::vector<std::string>{"signal(folder)"}), calls->calls());
  const auto error = NSError::errorWithDomain("domain", 1);
  manager.signals.take().reply(error);
  EXPECT_EQ(error, answered.value());
}

}  // namespace
}  // namespace tessera
