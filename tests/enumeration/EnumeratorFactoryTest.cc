#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "enumeration/GVDirectoriesEnumerator.h"
#include "enumeration/GVFileEnumerator.h"
#include "enumeration/GVWorkingSetEnumerator.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"
#include "tests/support/fileprovider/FakeEnumerationObserver.h"
#include "tests/support/tessera/FakeUpdateSender.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

const std::string kRoot = NSFileProviderRootContainerItemIdentifier;

template <class Enumerator>
bool isA(const NSFileProviderEnumeratorPtr& enumerator) {
  return dynamic_cast<Enumerator*>(enumerator.get()) != nullptr;
}

// What the enumerator asks the daemon for and tells it to watch shows what it was made of.
std::string askedBy(ExtensionWorld& world, const NSFileProviderEnumeratorPtr& enumerator) {
  const auto observer = std::make_shared<FakeEnumerationObserver>(world.calls);
  enumerator->enumerateItemsForObserver(observer, nullptr);
  const auto sender = std::make_shared<FakeUpdateSender>(world.calls);
  world.daemon.senders.take().reply(sender, {}, nullptr);
  const auto request = world.daemon.pages.take();
  const auto watch = sender->watches().take();
  request.reply({}, 0, nullptr);
  enumerator->invalidate();
  world.calls->waitFor("sender.proxy1.invalidate");
  return (request.folder ? request.folder->asString() : "root") + " at " + watch.url->path() +
         (watch.options == 19 ? "" : ", recursive");
}

TEST(EnumeratorFactory, MakesTheWorkingSetsEnumeratorWithoutALookup) {
  const ExtensionWorld world;
  NSErrorPtr error;
  const auto made = GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(
      NSFileProviderWorkingSetContainerItemIdentifier, &error);
  EXPECT_TRUE(isA<GVWorkingSetEnumerator>(made));
  EXPECT_EQ(nullptr, error);
  EXPECT_EQ((std::vector<std::string>{"account.startObserver", "account.current"}),
            world.calls->calls());
  EXPECT_EQ(
      (LogLines{debugLine("┏1 enumerator for NSFileProviderWorkingSetContainerItemIdentifier"),
                debugLine("┗1 ")}),
      world.log.lines());
}

TEST(EnumeratorFactory, MakesTheDirectoriesEnumeratorWithoutALookup) {
  const ExtensionWorld world;
  const auto made = GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(
      NSFileProviderAllDirectoriesContainerItemIdentifier, nullptr);
  EXPECT_TRUE(isA<GVDirectoriesEnumerator>(made));
  EXPECT_EQ((std::vector<std::string>{"account.startObserver", "account.current"}),
            world.calls->calls());
}

TEST(EnumeratorFactory, MakesTheRootsEnumeratorWithoutAFileObjectIdentifier) {
  ExtensionWorld world;
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/tree/documents"));
  const auto made =
      GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(kRoot, nullptr);
  ASSERT_TRUE(isA<GVFileEnumerator>(made));
  EXPECT_EQ("root at /tree/documents", askedBy(world, made));
}

TEST(EnumeratorFactory, MakesAFoldersEnumeratorThatDoesNotRecurse) {
  ExtensionWorld world;
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/folder"));
  const auto identifier = sampleID(1).asString();
  NSErrorPtr error;
  const auto made =
      GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(identifier, &error);
  ASSERT_TRUE(isA<GVFileEnumerator>(made));
  EXPECT_EQ(nullptr, error);
  EXPECT_EQ((LogLines{debugLine("┏1 enumerator for " + identifier),
                      debugLine("┏3 asked url for " + identifier),
                      debugLine("returning " + described(NSURL::fileURLWithPath("/tree/folder"))),
                      debugLine("┗3 "), debugLine("┗1 ")}),
            world.log.lines());
  EXPECT_EQ(identifier + " at /tree/folder", askedBy(world, made));
}

TEST(EnumeratorFactory, MakesAFreshEnumeratorForEachRequest) {
  ExtensionWorld world;
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/folder"));
  const auto extension = GVFileProviderExtension::create();
  const auto identifier = sampleID(1).asString();
  EXPECT_NE(extension->enumeratorForContainerItemIdentifier(identifier, nullptr),
            extension->enumeratorForContainerItemIdentifier(identifier, nullptr));
}

TEST(EnumeratorFactory, StopsAtTheAccountGateBeforeItLooksAtTheIdentifier) {
  for (const char* identifier : {NSFileProviderWorkingSetContainerItemIdentifier,
                                 NSFileProviderAllDirectoriesContainerItemIdentifier,
                                 NSFileProviderRootContainerItemIdentifier, "nothing"}) {
    SCOPED_TRACE(identifier);
    ExtensionWorld world;
    world.library.setAccount(nullptr);
    NSErrorPtr error;
    EXPECT_EQ(nullptr, GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(
                           identifier, &error));
    EXPECT_EQ(-1000, error->code());
    EXPECT_EQ((std::vector<std::string>{"account.startObserver", "account.current"}),
              world.calls->calls());
    const auto lines = world.log.lines();
    ASSERT_EQ(3U, lines.size());
    EXPECT_EQ(LogType::Error, lines.at(1).type);
    EXPECT_TRUE(lines.at(2).text.starts_with("[DEBUG] ┗"));
  }
}

TEST(EnumeratorFactory, ReportsAnUnknownIdentifierAsNoSuchItem) {
  const ExtensionWorld world;
  NSErrorPtr error;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(
                         "nothing", &error));
  ASSERT_NE(nullptr, error);
  EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
  EXPECT_EQ(-1005, error->code());
  EXPECT_EQ("nothing", std::get<std::string>(
                           error->userInfo().at(NSFileProviderErrorNonExistentItemIdentifierKey)));
  EXPECT_EQ(errorLine("-[GVFileProviderExtension enumeratorForContainerItemIdentifier:error:]: "
                      "(passed to caller) error: " +
                      described(error)),
            world.log.lines().at(4));
}

TEST(EnumeratorFactory, LogsAnUnknownIdentifierToACallerWhoIgnoresIt) {
  const ExtensionWorld world;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->enumeratorForContainerItemIdentifier(
                         "nothing", nullptr));
  EXPECT_EQ(
      (LogLines{debugLine("┏1 enumerator for nothing"), debugLine("┏3 asked url for nothing"),
                errorLine("returning nil, there was an error: (null)"), debugLine("┗3 "),
                errorLine("-[GVFileProviderExtension enumeratorForContainerItemIdentifier:error:]: "
                          "(ignored by caller) error: " +
                          described(fileProviderErrorForNonExistentItemWithIdentifier("nothing"))),
                debugLine("┗1 ")}),
      world.log.lines());
}

}  // namespace
}  // namespace tessera
