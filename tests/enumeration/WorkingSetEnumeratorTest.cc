#include <gtest/gtest.h>

#include "enumeration/GVWorkingSetEnumerator.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/fileprovider/FakeChangeObserver.h"
#include "tests/support/fileprovider/FakeEnumerationObserver.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

std::shared_ptr<FakeChangeObserver> enumerate(ExtensionWorld& world, const NSDataPtr& anchor) {
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  GVWorkingSetEnumerator enumerator;
  enumerator.enumerateChangesForObserver(observer, anchor);
  return observer;
}

TEST(WorkingSetEnumerator, ListsNothingAndHasTheWorkingSetSignalled) {
  ExtensionWorld world;
  const auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  GVWorkingSetEnumerator enumerator;
  enumerator.enumerateItemsForObserver(observer, NSFileProviderInitialPageSortedByName());
  EXPECT_EQ(nullptr, observer->page());
  EXPECT_EQ(nullptr, observer->error());
  EXPECT_EQ((std::vector<std::string>{"observer.finishUpToPage",
                                      "signal(NSFileProviderWorkingSetContainerItemIdentifier)"}),
            world.calls->calls());
  world.manager.signals.take().reply(NSError::errorWithDomain("domain", 1));
  EXPECT_TRUE(world.logged().empty());
}

TEST(WorkingSetEnumerator, StartsFromSeventeenBytesOfText) {
  const ExtensionWorld world;
  GVWorkingSetEnumerator enumerator;
  const HandlerOnce<NSFileProviderSyncAnchor> current;
  enumerator.currentSyncAnchorWithCompletionHandler(current.handler());
  const auto bytes = current.value()->bytes();
  EXPECT_EQ("initialSyncAnchor", std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(17U, bytes.size());
}

TEST(WorkingSetEnumerator, AsksFromTheStartForTheInitialAnchor) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSData::dataWithText("initialSyncAnchor"));
  EXPECT_EQ((std::vector<std::string>{"daemon.enumerateWorkingSetChanges(nil, limit=200)"}),
            world.calls->calls());
  world.daemon.workingSets.take().reply({}, {}, NSData::dataWithText("7"), nullptr);
  EXPECT_TRUE(observer->batch().moreComing);
}

TEST(WorkingSetEnumerator, AsksFromAnyOtherAnchorAsItIs) {
  ExtensionWorld world;
  const auto anchor = NSData::dataWithText("token-7");
  const auto observer = enumerate(world, anchor);
  const auto request = world.daemon.workingSets.take();
  EXPECT_EQ(anchor, request.changeToken);
  EXPECT_EQ(200U, request.limit);
  request.reply({}, {}, NSData::dataWithText("token-7"), nullptr);
  EXPECT_FALSE(observer->batch().moreComing);
}

TEST(WorkingSetEnumerator, HandsUpdatesAndDeletionsOnInOrder) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSData::dataWithText("token-7"));
  const auto first = sampleItem(1);
  const auto second = sampleItem(2);
  const auto token = NSData::dataWithText("token-8");
  world.daemon.workingSets.take().reply({first, second}, {sampleID(4), sampleID(3)}, token,
                                        nullptr);
  const auto batch = observer->batch();
  EXPECT_EQ((NSFileProviderItems{first, second}), batch.updated);
  EXPECT_EQ((std::vector<std::string>{sampleID(4).asString(), sampleID(3).asString()}),
            batch.deleted);
  EXPECT_EQ(token, batch.anchor);
  EXPECT_TRUE(batch.moreComing);
  EXPECT_EQ((std::vector<std::string>{"daemon.enumerateWorkingSetChanges(token-7, limit=200)",
                                      "observer.didUpdateItems(2)", "observer.didDeleteItems(2)",
                                      "observer.finishUpToAnchor"}),
            world.calls->calls());
}

TEST(WorkingSetEnumerator, HasMoreComingUntilTheTokenStaysTheSame) {
  ExtensionWorld world;
  const auto moreComing = [&world](const char* anchor, const char* newToken) {
    const auto observer = enumerate(world, NSData::dataWithText(anchor));
    world.daemon.workingSets.take().reply({}, {}, NSData::dataWithText(newToken), nullptr);
    return observer->batch().moreComing;
  };
  EXPECT_TRUE(moreComing("initialSyncAnchor", "1"));
  EXPECT_TRUE(moreComing("1", "2"));
  EXPECT_FALSE(moreComing("2", "2"));
  EXPECT_TRUE(moreComing("2", "22"));
  EXPECT_TRUE(moreComing("2", "initialSyncAnchor"));
}

TEST(WorkingSetEnumerator, SaysNotAuthenticatedWithoutMoreInformation) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSData::dataWithText("1"));
  world.daemon.workingSets.take().reply({}, {}, nullptr, gvc_errorLoggedOut());
  const auto error = observer->batch().error;
  ASSERT_NE(nullptr, error);
  EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
  EXPECT_EQ(-1000, error->code());
  EXPECT_TRUE(error->userInfo().empty());
  EXPECT_TRUE(world.logged().empty());
}

TEST(WorkingSetEnumerator, TranslatesOtherErrorsOfTheDaemon) {
  ExtensionWorld world;
  auto observer = enumerate(world, NSData::dataWithText("1"));
  const auto quota = NSError::errorWithDomain(NSCocoaErrorDomain, 4354);
  world.daemon.workingSets.take().reply({}, {}, nullptr, quota);
  EXPECT_EQ(-1003, observer->batch().error->code());
  EXPECT_EQ(quota, observer->batch().error->underlyingError());

  observer = enumerate(world, NSData::dataWithText("1"));
  const auto other = NSError::errorWithDomain(GVTesseraErrorDomain, 3);
  world.daemon.workingSets.take().reply({}, {}, nullptr, other);
  EXPECT_EQ(other, observer->batch().error);

  observer = enumerate(world, NSData::dataWithText("1"));
  const auto sameCode = NSError::errorWithDomain(NSPOSIXErrorDomain, 2);
  world.daemon.workingSets.take().reply({}, {}, nullptr, sameCode);
  EXPECT_EQ(sameCode, observer->batch().error);
}

TEST(WorkingSetEnumerator, HandsConnectionErrorsOnAsTheyAre) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSData::dataWithText("1"));
  const auto error = gvc_errorLoggedOut();  // one that has a translation
  world.daemon.workingSets.take().failConnection(error);
  EXPECT_EQ(error, observer->batch().error);
}

TEST(WorkingSetEnumerator, ReportsTheInitialAnchorWhateverHasBeenDelivered) {
  ExtensionWorld world;
  GVWorkingSetEnumerator enumerator;
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  enumerator.enumerateChangesForObserver(observer, GVWorkingSetEnumerator::initialSyncAnchor());
  world.daemon.workingSets.take().reply({sampleItem(1)}, {}, NSData::dataWithText("1"), nullptr);
  enumerator.invalidate();
  const HandlerOnce<NSFileProviderSyncAnchor> current;
  enumerator.currentSyncAnchorWithCompletionHandler(current.handler());
  EXPECT_EQ(GVWorkingSetEnumerator::initialSyncAnchor(), current.value());
}

}  // namespace
}  // namespace tessera
