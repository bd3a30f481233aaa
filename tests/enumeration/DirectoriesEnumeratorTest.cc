#include <gtest/gtest.h>

#include "enumeration/GVDirectoriesEnumerator.h"
#include "enumeration/PageAndChangeTokens.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"
#include "tests/support/fileprovider/FakeEnumerationObserver.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

std::shared_ptr<FakeEnumerationObserver> enumerate(ExtensionWorld& world,
                                                   const NSFileProviderPage& page) {
  const auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  GVDirectoriesEnumerator enumerator;
  enumerator.enumerateItemsForObserver(observer, page);
  return observer;
}

TEST(DirectoriesEnumerator, AsksForTwoHundredFoldersFromTheInitialPage) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSFileProviderInitialPageSortedByDate());
  EXPECT_EQ((std::vector<std::string>{"daemon.enumerateAllFolders(sort=1, offset=0, limit=200)"}),
            world.calls->calls());
  EXPECT_FALSE(observer->isFinished());
  world.daemon.folders.take().reply({}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->error());
}

TEST(DirectoriesEnumerator, HandsThePageOnAndSaysWhereTheNextBegins) {
  ExtensionWorld world;
  const auto observer = enumerate(world, NSFileProviderInitialPageSortedByDate());
  GVQueryItems items;
  for (std::uint64_t i = 0; i < 200; ++i) items.push_back(sampleItem(i));
  world.daemon.folders.take().reply(items, 200, nullptr);
  EXPECT_EQ(NSFileProviderItems(items.begin(), items.end()), observer->items());
  ASSERT_NE(nullptr, observer->page());
  EXPECT_EQ(16U, observer->page()->length());
  EXPECT_EQ(200U, gv_pageTokenOffset(observer->page()));
  EXPECT_EQ(1, gv_pageTokenSortOrder(observer->page()));
  EXPECT_EQ(
      (std::vector<std::string>{"daemon.enumerateAllFolders(sort=1, offset=0, limit=200)",
                                "observer.didEnumerateItems(200)", "observer.finishUpToPage"}),
      world.calls->calls());
  EXPECT_TRUE(world.logged().empty());  // and no section
}

TEST(DirectoriesEnumerator, GoesOnFromAPageToken) {
  ExtensionWorld world;
  const auto observer = enumerate(world, gv_pageTokenFromSortOrder(0, 400));
  EXPECT_EQ(1U, world.calls->count("daemon.enumerateAllFolders(sort=0, offset=400, limit=200)"));
  world.daemon.folders.take().reply({sampleItem(1)}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->page());
  EXPECT_EQ(nullptr, observer->error());
  EXPECT_EQ(1U, observer->items().size());
}

TEST(DirectoriesEnumerator, TranslatesErrorsOfTheDaemon) {
  ExtensionWorld world;
  const auto observer = enumerate(world, nullptr);
  const auto error = gvc_errorLoggedOut();
  world.daemon.folders.take().reply({}, 0, error);
  EXPECT_EQ(-1000, observer->error()->code());
  EXPECT_EQ(error, observer->error()->underlyingError());
  EXPECT_EQ((LogLines{errorLine("there was an error when listing items: " + described(error))}),
            world.log.lines());
  EXPECT_EQ((std::vector<std::string>{"daemon.enumerateAllFolders(sort=0, offset=0, limit=200)",
                                      "observer.finishWithError"}),
            world.calls->calls());
}

TEST(DirectoriesEnumerator, HandsConnectionErrorsOnAsTheyAre) {
  ExtensionWorld world;
  const auto observer = enumerate(world, nullptr);
  const auto error = gvc_errorLoggedOut();  // one that has a translation
  world.daemon.folders.take().failConnection(error);
  EXPECT_EQ(error, observer->error());
  EXPECT_TRUE(world.logged().empty());
}

TEST(DirectoriesEnumerator, DoesNotReportChanges) {
  const NSFileProviderEnumeratorPtr enumerator = std::make_shared<GVDirectoriesEnumerator>();
  EXPECT_EQ(nullptr, dynamic_cast<NSFileProviderChangeEnumerating*>(enumerator.get()));
}

TEST(DirectoriesEnumerator, KeepsTheObserverUntilTheAnswerAndNoLonger) {
  ExtensionWorld world;
  auto observer = enumerate(world, nullptr);
  const std::weak_ptr<FakeEnumerationObserver> weak = observer;
  observer = nullptr;
  EXPECT_FALSE(weak.expired());
  world.daemon.folders.take().reply({}, 0, nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST(DirectoriesEnumerator, StillListsAfterInvalidation) {
  ExtensionWorld world;
  GVDirectoriesEnumerator enumerator;
  enumerator.invalidate();
  const auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  enumerator.enumerateItemsForObserver(observer, nullptr);
  world.daemon.folders.take().reply({}, 0, nullptr);
  EXPECT_EQ(nullptr, observer->error());
}

}  // namespace
}  // namespace tessera
