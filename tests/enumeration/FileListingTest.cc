#include <gtest/gtest.h>

#include "EnumeratorUnderTest.h"
#include "enumeration/PageAndChangeTokens.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

const std::string kFolder = sampleID(100).asString();

std::shared_ptr<FakeEnumerationObserver> list(ExtensionWorld& world, EnumeratorUnderTest& folder,
                                              const NSFileProviderPage& page) {
  auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  folder->enumerateItemsForObserver(observer, page);
  return observer;
}

TEST(FileListing, NeedsAURL) {
  const ExtensionWorld world;
  EXPECT_EQ(nullptr, GVFileEnumerator::create(sampleID(1), nullptr, "identifier", false));
  EXPECT_EQ((LogLines{errorLine("can't create a file enumeration without a url")}),
            world.log.lines());
  EXPECT_TRUE(world.calls->calls().empty());
}

TEST(FileListing, SetsNotificationsUpBeforeItAsksForThePage) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto observer = list(world, folder, NSFileProviderInitialPageSortedByName());
  const auto sender = std::make_shared<FakeUpdateSender>(world.calls);
  world.daemon.senders.take().reply(sender, {}, nullptr);
  const auto item = sampleItem(1);
  world.daemon.pages.take().reply({item}, 0, nullptr);
  EXPECT_EQ((NSFileProviderItems{item}), observer->items());
  EXPECT_EQ(nullptr, observer->page());
  EXPECT_EQ((std::vector<std::string>{
                "daemon.getItemUpdateSender", "sender.proxy1.boostPriority",
                "sender.proxy2.watch(/tree/folder, 19)",
                "daemon.enumerateItems(" + kFolder + ", sort=0, offset=0, limit=200)",
                "observer.didEnumerateItems(1)", "observer.finishUpToPage"}),
            world.calls->calls());
  EXPECT_EQ((LogLines{debugLine("┏1 listing items"), debugLine("from page 0"),
                      debugLine("┣3 calling skiff"), debugLine("┗1 "),
                      debugLine("┳3 received next page 0 items=" + described(GVQueryItems{item})),
                      debugLine("┗3 ")}),
            world.log.lines());
}

TEST(FileListing, SaysNothingOfThePageWhenThereIsNone) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto observer = list(world, folder, nullptr);
  world.daemon.pages.take().reply({}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->error());
  EXPECT_EQ(
      (LogLines{debugLine("┏1 listing items"), debugLine("┣3 calling skiff"), debugLine("┗1 "),
                debugLine("┳3 received next page 0 items=" + described(GVQueryItems{})),
                debugLine("┗3 ")}),
      world.log.lines());
  EXPECT_EQ(1U, world.calls->count("daemon.enumerateItems(" + kFolder +
                                   ", sort=0, offset=0, limit=200)"));
}

TEST(FileListing, ListsTheRootWithoutAFolder) {
  ExtensionWorld world;
  auto root = EnumeratorUnderTest::ofTheRoot(world);
  const auto sender = root.connect();
  const auto observer = list(world, root, NSFileProviderInitialPageSortedByName());
  const auto request = world.daemon.pages.take();
  EXPECT_EQ(std::nullopt, request.folder);
  request.reply({}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->error());
}

TEST(FileListing, GoesOnFromAPageToken) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto observer = list(world, folder, gv_pageTokenFromSortOrder(1, 400));
  const auto request = world.daemon.pages.take();
  EXPECT_EQ(1, request.sortOrder);
  EXPECT_EQ(400U, request.offset);
  EXPECT_EQ(200U, request.limit);
  request.reply({sampleItem(1)}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->page());
  EXPECT_EQ("[DEBUG] from page 400", world.logged().at(1));
}

TEST(FileListing, SaysWhereTheNextPageBegins) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto observer = list(world, folder, NSFileProviderInitialPageSortedByDate());
  world.daemon.pages.take().reply({sampleItem(1), sampleItem(2)}, 200, nullptr);
  EXPECT_EQ(200U, gv_pageTokenOffset(observer->page()));
  EXPECT_EQ(1, gv_pageTokenSortOrder(observer->page()));
  EXPECT_TRUE(world.logged().at(4).starts_with("[DEBUG] ┳3 received next page 200 items=("));
}

TEST(FileListing, SetsNotificationsUpOnceForManyPages) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  for (int i = 0; i < 3; ++i) {
    const auto observer = list(world, folder, NSFileProviderInitialPageSortedByDate());
    world.daemon.pages.take().reply({}, 0, nullptr);
    EXPECT_EQ(nullptr, observer->error());
  }
  EXPECT_EQ(1U, world.calls->count("daemon.getItemUpdateSender"));
  EXPECT_EQ(1U, world.calls->count("sender.proxy2.watch(/tree/folder, 19)"));
}

TEST(FileListing, ReportsAFailedSetUpTranslatedAndDoesNotAskForThePage) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto observer = list(world, folder, nullptr);
  const auto loggedOut = gvc_errorLoggedOut();
  world.daemon.senders.take().reply(nullptr, {}, loggedOut);
  EXPECT_EQ(-1000, observer->error()->code());
  EXPECT_EQ(loggedOut, observer->error()->underlyingError());
  folder.settle();
  EXPECT_EQ(0U, world.daemon.pages.size());
  // The second section is not closed.
  EXPECT_EQ(
      (LogLines{debugLine("┏1 listing items"), debugLine("┣3 calling skiff"), debugLine("┗1 ")}),
      world.log.lines());
}

TEST(FileListing, ReportsAConnectionThatFailsDuringSetUpTranslated) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto observer = list(world, folder, nullptr);
  world.daemon.senders.take().failConnection(gvc_errorLoggedOut());
  EXPECT_TRUE(observer->isFinished());  // on the client library's thread, here this one
  EXPECT_EQ(-1000, observer->error()->code());
  folder.settle();
  EXPECT_EQ(0U, world.daemon.pages.size());
}

TEST(FileListing, ReportsAConnectionThatFailsDuringTheListingTranslated) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto observer = list(world, folder, nullptr);
  const auto error = NSError::errorWithDomain(NSCocoaErrorDomain, 4355);
  world.daemon.pages.take().failConnection(error);
  EXPECT_EQ(-1004, observer->error()->code());
  EXPECT_EQ(error, observer->error()->underlyingError());
  // The second section is not closed.
  EXPECT_EQ(
      (LogLines{debugLine("┏1 listing items"), debugLine("┣3 calling skiff"), debugLine("┗1 ")}),
      world.log.lines());
}

TEST(FileListing, ReportsAnErrorOfTheDaemonTranslatedAndLogsItAsItIs) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto observer = list(world, folder, nullptr);
  const auto error = gvc_errorLoggedOut();
  world.daemon.pages.take().reply({}, 0, error);
  EXPECT_EQ(-1000, observer->error()->code());
  EXPECT_EQ(
      (LogLines{debugLine("┏1 listing items"), debugLine("┣3 calling skiff"), debugLine("┗1 "),
                debugLine("┳3 received next page 0 items=" + described(GVQueryItems{})),
                errorLine("there was an error when listing items: " + described(error)),
                debugLine("┗3 ")}),
      world.log.lines());
  EXPECT_EQ(0U, world.calls->count("observer.didEnumerateItems(0)"));
}

TEST(FileListing, StillWorksAfterInvalidation) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  folder->invalidate();
  const auto observer = list(world, folder, nullptr);
  const auto sender = std::make_shared<FakeUpdateSender>(world.calls);
  world.daemon.senders.take().reply(sender, {}, nullptr);
  world.daemon.pages.take().reply({sampleItem(1)}, 0, nullptr);
  EXPECT_EQ(1U, observer->items().size());
  EXPECT_EQ(1U, world.calls->count("sender.invalidate"));
}

TEST(FileListing, KeepsTheEnumeratorAndTheObserverUntilTheAnswer) {
  ExtensionWorld world;
  auto enumerator = EnumeratorUnderTest(world).release();
  auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  enumerator->enumerateItemsForObserver(observer, nullptr);
  enumerator->invalidate();
  const std::weak_ptr<FakeEnumerationObserver> weakObserver = observer;
  const std::weak_ptr<GVFileEnumerator> weakEnumerator = enumerator;
  enumerator = nullptr;
  observer = nullptr;
  const auto sender = std::make_shared<FakeUpdateSender>(world.calls);
  world.daemon.senders.take().reply(sender, {}, nullptr);
  const auto request = world.daemon.pages.take();
  EXPECT_FALSE(weakObserver.expired());
  EXPECT_FALSE(weakEnumerator.expired());
  request.reply({}, 0, nullptr);
  EXPECT_EQ(1U, world.calls->count("observer.finishUpToPage"));
}

TEST(FileListing, BelongsToAGenerationOfItsOwn) {
  ExtensionWorld world;
  const EnumeratorUnderTest first(world);
  const EnumeratorUnderTest second(world);
  EXPECT_FALSE(first.anchor()->isEqualToData(*second.anchor()));
}

}  // namespace
}  // namespace tessera
