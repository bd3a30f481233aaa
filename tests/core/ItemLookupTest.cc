#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

const std::string kRoot = NSFileProviderRootContainerItemIdentifier;

NSURLPtr putDocument(ExtensionWorld& world, std::uint64_t number, const std::string& path) {
  auto url = NSURL::fileURLWithPath(path);
  world.library.putDocumentURL(sampleID(number), url);
  return url;
}

TEST(ItemLookup, HandsTheDaemonsRecordOnAsItIs) {
  ExtensionWorld world;
  const auto url = putDocument(world, 1, "/tree/a");
  const auto item = sampleItem(1);
  world.library.putItem("/tree/a", item);
  const auto identifier = sampleID(1).asString();
  NSErrorPtr error;
  EXPECT_EQ(item, GVFileProviderExtension::create()->itemForIdentifier(identifier, &error));
  EXPECT_EQ(nullptr, error);
  EXPECT_EQ(
      (std::vector<std::string>{"account.startObserver", "account.current",
                                "url.document(" + identifier + ")", "item.query(/tree/a, scan=0)"}),
      world.calls->calls());
  EXPECT_EQ((LogLines{debugLine("┏1 asked properties for " + identifier),
                      debugLine("┏3 asked url for " + identifier),
                      debugLine("returning " + described(url)), debugLine("┗3 "),
                      debugLine("┏5 asked properties for /tree/a"),
                      debugLine("returning " + described(item)), debugLine("┗5 "),
                      debugLine("returning " + described(item)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(ItemLookup, StopsAtTheAccountGate) {
  ExtensionWorld world;
  world.library.setAccount(nullptr);
  NSErrorPtr error;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->itemForIdentifier(kRoot, &error));
  EXPECT_EQ(-1000, error->code());
  EXPECT_EQ((LogLines{debugLine("┏1 asked properties for " + kRoot),
                      errorLine("-[GVFileProviderExtension _isLoggedInOrError:]: (passed to "
                                "caller) error: " +
                                described(error)),
                      debugLine("┗1 ")}),
            world.log.lines());
  EXPECT_EQ(0U, world.calls->count("containers.all"));
}

TEST(ItemLookup, ReportsAnIdentifierWithoutURLAsNoSuchItem) {
  for (const char* identifier :
       {NSFileProviderWorkingSetContainerItemIdentifier,
        NSFileProviderAllDirectoriesContainerItemIdentifier, "no identifier"}) {
    SCOPED_TRACE(identifier);
    ExtensionWorld world;
    NSErrorPtr error;
    EXPECT_EQ(nullptr, GVFileProviderExtension::create()->itemForIdentifier(identifier, &error));
    ASSERT_NE(nullptr, error);
    EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
    EXPECT_EQ(-1005, error->code());
    EXPECT_EQ(identifier, std::get<std::string>(error->userInfo().at(
                              NSFileProviderErrorNonExistentItemIdentifierKey)));
    const auto lines = world.log.lines();
    ASSERT_EQ(6U, lines.size());
    EXPECT_EQ(errorLine("-[GVFileProviderExtension itemForIdentifier:error:]: (passed to caller) "
                        "error: " +
                        described(error)),
              lines.at(4));
  }
}

TEST(ItemLookup, LogsNoSuchItemForACallerWhoIgnoresIt) {
  ExtensionWorld world;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->itemForIdentifier("nothing", nullptr));
  const auto error = fileProviderErrorForNonExistentItemWithIdentifier("nothing");
  EXPECT_EQ(
      (LogLines{debugLine("┏1 asked properties for nothing"), debugLine("┏3 asked url for nothing"),
                errorLine("returning nil, there was an error: (null)"), debugLine("┗3 "),
                errorLine("-[GVFileProviderExtension itemForIdentifier:error:]: (ignored by "
                          "caller) error: " +
                          described(error)),
                debugLine("┗1 ")}),
      world.log.lines());
}

TEST(ItemLookup, FollowsReferencesWithoutThePhysicalMark) {
  ExtensionWorld world;
  putDocument(world, 1, "/tree/reference");
  const auto target = NSURL::fileURLWithPath("/tree/target");
  world.library.putReference("/tree/reference", target);
  world.library.putItem("/tree/target", sampleItem(2));
  const auto item =
      GVFileProviderExtension::create()->itemForIdentifier(sampleID(1).asString(), nullptr);
  ASSERT_NE(nullptr, item);
  EXPECT_EQ(sampleID(2).asString(), item->itemIdentifier());
  EXPECT_FALSE(gv_hasPhysicalProperty(target));
}

TEST(ItemLookup, LogsARecordThatIsNil) {
  ExtensionWorld world;
  putDocument(world, 1, "/tree/a");
  const auto failure = NSError::errorWithDomain(NSCocoaErrorDomain, 4355);
  world.library.putItem("/tree/a", nullptr, failure);
  NSErrorPtr error;
  EXPECT_EQ(nullptr,
            GVFileProviderExtension::create()->itemForIdentifier(sampleID(1).asString(), &error));
  EXPECT_EQ(-1004, error->code());
  EXPECT_EQ(failure, error->underlyingError());
  const auto lines = world.log.lines();
  EXPECT_EQ(debugLine("returning (null)"), lines.at(lines.size() - 2));
}

TEST(ItemLookup, TakesTheRootFromTheContainerList) {
  ExtensionWorld world;
  const auto documents = NSURL::fileURLWithPath("/tree/documents");
  const auto item = sampleItem(1);
  world.library.putContainer(GVUbiquitousDefaultContainerID, documents, item);
  EXPECT_EQ(item, GVFileProviderExtension::create()->itemForIdentifier(kRoot, nullptr));
  EXPECT_EQ(1U, world.calls->count("container.item(tessera.documents.default, scan=0)"));
}

TEST(ItemLookup, TakesContainerFoldersFromTheContainerList) {
  for (const bool forceScan : {false, true}) {
    ExtensionWorld world;
    const auto url = NSURL::fileURLWithPath("/tree/box");
    const auto item = sampleItem(1);
    world.library.putContainer("box", url, item);
    const auto before = NSError::errorWithDomain("domain", 1);
    NSErrorPtr error = before;
    EXPECT_EQ(item,
              GVFileProviderExtension::create()->_propertiesForItemAtURL(url, forceScan, &error));
    EXPECT_EQ(before, error);  // not written here, and without a translation
    EXPECT_EQ((std::vector<std::string>{
                  "account.startObserver", "containers.all",
                  std::string("container.item(box, scan=") + (forceScan ? "1)" : "0)")}),
              world.calls->calls());
  }
}

TEST(ItemLookup, GivesNoErrorForAContainerWithoutRecord) {
  ExtensionWorld world;
  const auto url = NSURL::fileURLWithPath("/tree/box");
  world.library.putContainer("box", url);
  NSErrorPtr error;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->_propertiesForItemAtURL(url, &error));
  EXPECT_EQ(nullptr, error);
}

TEST(ItemLookup, AsksTheDaemonForTheDocumentsAndDesktopFolders) {
  for (const char* containerID : {GVUbiquitousDocumentsContainerID, GVUbiquitousDesktopContainerID})
    for (const bool forceScan : {false, true}) {
      SCOPED_TRACE(containerID);
      ExtensionWorld world;
      const auto url = NSURL::fileURLWithPath("/tree/folder");
      const auto item = sampleItem(1);
      world.library.putContainer(containerID, url, sampleItem(2));
      world.library.putItem("/tree/folder", item);
      EXPECT_EQ(item, GVFileProviderExtension::create()->_propertiesForItemAtURL(url, forceScan,
                                                                                 nullptr));
      EXPECT_EQ((std::vector<std::string>{
                    "account.startObserver",
                    std::string("item.query(/tree/folder, scan=") + (forceScan ? "1)" : "0)")}),
                world.calls->calls());
    }
}

TEST(ItemLookup, ForcesAScanForNewItemsOnly) {
  ExtensionWorld world;
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const auto item = sampleItem(1);
  world.library.putItem("/tree/a", item);
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ(item, extension->_propertiesForItemAtURL(url, nullptr));
  EXPECT_EQ(item, extension->_propertiesForNewItemAtURL(url, nullptr));
  EXPECT_EQ((std::vector<std::string>{"account.startObserver", "item.query(/tree/a, scan=0)",
                                      "item.query(/tree/a, scan=1)"}),
            world.calls->calls());
}

TEST(ItemLookup, RefusesAURLOutsideTheTreeWithoutAWord) {
  const ExtensionWorld world;
  const auto outside = NSURL::fileURLWithPath("/outside/a");
  const auto extension = GVFileProviderExtension::create();
  for (const bool forceScan : {false, true}) {
    NSErrorPtr error;
    EXPECT_EQ(nullptr, extension->_propertiesForItemAtURL(outside, forceScan, &error));
    ASSERT_NE(nullptr, error);
    EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
    EXPECT_EQ(-1005, error->code());
    EXPECT_TRUE(error->userInfo().empty());
    EXPECT_EQ(nullptr, extension->_propertiesForItemAtURL(outside, forceScan, nullptr));
  }
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ(1U, log_section_create(false));  // no section has been made
}

TEST(ItemLookup, TranslatesTheDaemonsError) {
  ExtensionWorld world;
  const auto loggedOut = gvc_errorLoggedOut();
  world.library.putItem("/tree/a", nullptr, loggedOut);
  NSErrorPtr error;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->_propertiesForNewItemAtURL(
                         NSURL::fileURLWithPath("/tree/a"), &error));
  EXPECT_EQ(-1000, error->code());
  EXPECT_EQ(loggedOut, error->underlyingError());
}

TEST(ItemLookup, TranslatesEvenAnErrorFromBeforeTheCall) {
  ExtensionWorld world;
  const auto url = NSURL::fileURLWithPath("/tree/box");
  world.library.putContainer("box", url, sampleItem(1));
  world.library.putItem("/tree/a", sampleItem(2));
  const auto extension = GVFileProviderExtension::create();
  const auto before = NSError::errorWithDomain(NSCocoaErrorDomain, 4354);
  for (const auto& asked : {url, NSURL::fileURLWithPath("/tree/a")}) {
    NSErrorPtr error = before;
    EXPECT_NE(nullptr, extension->_propertiesForItemAtURL(asked, &error));
    EXPECT_EQ(-1003, error->code());
    EXPECT_EQ(before, error->underlyingError());
  }
}

TEST(ItemLookup, GivesTheSameResultsToACallerWhoIgnoresErrors) {
  ExtensionWorld world;
  const auto box = NSURL::fileURLWithPath("/tree/box");
  const auto container = sampleItem(1);
  const auto document = sampleItem(2);
  world.library.putContainer("box", box, container);
  world.library.putItem("/tree/a", document);
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ(container, extension->_propertiesForItemAtURL(box, nullptr));
  EXPECT_EQ(document,
            extension->_propertiesForItemAtURL(NSURL::fileURLWithPath("/tree/a"), nullptr));
  EXPECT_EQ(nullptr,
            extension->_propertiesForItemAtURL(NSURL::fileURLWithPath("/tree/none"), nullptr));
  EXPECT_EQ(nullptr,
            extension->_propertiesForItemAtURL(NSURL::fileURLWithPath("/outside"), nullptr));
}

}  // namespace
}  // namespace tessera
