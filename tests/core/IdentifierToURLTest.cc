#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

const std::string kRoot = NSFileProviderRootContainerItemIdentifier;

TEST(IdentifierToURL, MapsTheRootToTheDefaultContainersDocuments) {
  ExtensionWorld world;
  const auto documents = NSURL::fileURLWithPath("/tree/documents");
  world.library.putContainer(GVUbiquitousDefaultContainerID, documents);
  const auto extension = GVFileProviderExtension::create();
  const auto url = extension->URLForItemWithPersistentIdentifier(kRoot);
  ASSERT_NE(nullptr, url);
  EXPECT_EQ("/tree/documents", url->path());
  EXPECT_NE(documents, url);  // a copy
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + kRoot),
                      debugLine("returning " + described(url)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, LooksTheRootUpOncePerProcess) {
  ExtensionWorld world;
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/tree/documents"));
  const auto extension = GVFileProviderExtension::create();
  const auto first = extension->URLForItemWithPersistentIdentifier(kRoot);
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/tree/elsewhere"));
  EXPECT_EQ(first, extension->_URLForItemWithPersistentIdentifier(kRoot, false));
  EXPECT_EQ(first, GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(kRoot));
  EXPECT_EQ(1U, world.calls->count("containers.all"));
}

TEST(IdentifierToURL, LeavesTheRootWithoutURLIfItsContainerWasMissingAtFirst) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ(nullptr, extension->URLForItemWithPersistentIdentifier(kRoot));
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/tree/documents"));
  EXPECT_EQ(nullptr, extension->URLForItemWithPersistentIdentifier(kRoot));
  EXPECT_EQ(1U, world.calls->count("containers.all"));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + kRoot), debugLine("returning (null)"),
                      debugLine("┗1 "), debugLine("┏3 asked url for " + kRoot),
                      debugLine("returning (null)"), debugLine("┗3 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, LeavesTheRootWithoutURLIfItsContainerHasNoDocuments) {
  ExtensionWorld world;
  world.library.putContainer(GVUbiquitousDefaultContainerID, nullptr);
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(kRoot));
}

TEST(IdentifierToURL, NeitherResolvesNorMarksNorChecksTheRoot) {
  ExtensionWorld world;
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/outside/documents"));
  world.library.putReference("/outside/documents", NSURL::fileURLWithPath("/tree/other"));
  const auto url =
      GVFileProviderExtension::create()->_URLForItemWithPersistentIdentifier(kRoot, true, true);
  ASSERT_NE(nullptr, url);
  EXPECT_EQ("/outside/documents", url->path());
  EXPECT_FALSE(gv_hasPhysicalProperty(url));
}

TEST(IdentifierToURL, AsksTheDaemonWhereAnItemIs) {
  ExtensionWorld world;
  const auto url = NSURL::fileURLWithPath("/tree/a");
  world.library.putDocumentURL(sampleID(1), url);
  const auto identifier = sampleID(1).asString();
  EXPECT_EQ(url, GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(identifier));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      debugLine("returning " + described(url)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, KnowsNothingOfWhatIsNoFileObjectIdentifier) {
  for (const char* identifier :
       {NSFileProviderWorkingSetContainerItemIdentifier,
        NSFileProviderAllDirectoriesContainerItemIdentifier, "", "no identifier"}) {
    SCOPED_TRACE(identifier);
    ExtensionWorld world;
    const auto extension = GVFileProviderExtension::create();
    EXPECT_EQ(nullptr, extension->URLForItemWithPersistentIdentifier(identifier));
    ASSERT_EQ(3U, world.log.lines().size());
    EXPECT_EQ(errorLine("returning nil, there was an error: (null)"), world.log.lines().at(1));
    EXPECT_EQ((std::vector<std::string>{"account.startObserver"}), world.calls->calls());
  }
}

TEST(IdentifierToURL, LogsWhyTheDaemonCannotPlaceAnItem) {
  ExtensionWorld world;
  const auto error = NSError::errorWithDomain("domain", 3);
  world.library.putDocumentURL(sampleID(1), nullptr, error);
  const auto identifier = sampleID(1).asString();
  EXPECT_EQ(nullptr,
            GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(identifier));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      errorLine("returning nil, there was an error: " + described(error)),
                      debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, FollowsAReferenceToItsTarget) {
  ExtensionWorld world;
  const auto target = NSURL::fileURLWithPath("/tree/target");
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/reference"));
  world.library.putReference("/tree/reference", target);
  const auto identifier = sampleID(1).asString();
  EXPECT_EQ(target,
            GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(identifier));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      debugLine("we have a bookmark, returning its target"),
                      debugLine("returning " + described(target)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, LeavesAReferenceAloneWhenToldTo) {
  ExtensionWorld world;
  const auto reference = NSURL::fileURLWithPath("/tree/reference");
  world.library.putDocumentURL(sampleID(1), reference);
  world.library.putReference("/tree/reference", NSURL::fileURLWithPath("/tree/target"));
  const auto identifier = sampleID(1).asString();
  EXPECT_EQ(reference, GVFileProviderExtension::create()->_URLForItemWithPersistentIdentifier(
                           identifier, false));
  EXPECT_EQ(0U, world.calls->count("url.resolve(/tree/reference)"));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      debugLine("returning " + described(reference)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, LogsWhyAReferenceCannotBeFollowed) {
  ExtensionWorld world;
  const auto error = NSError::errorWithDomain("domain", 3);
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/reference"));
  world.library.putReference("/tree/reference", nullptr, error);
  const auto identifier = sampleID(1).asString();
  EXPECT_EQ(nullptr,
            GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(identifier));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      debugLine("we have a bookmark, returning its target"),
                      errorLine("returning nil, there was an error: " + described(error)),
                      debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, ReplacesTheErrorByThatOfTheReference) {
  ExtensionWorld world;
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/reference"),
                               NSError::errorWithDomain("of the document", 1));
  world.library.putReference("/tree/reference", nullptr);
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(
                         sampleID(1).asString()));
  EXPECT_EQ((std::vector<std::string>{"[ERROR] returning nil, there was an error: (null)"}),
            world.logged(LogType::Error));
}

TEST(IdentifierToURL, LogsAURLOutsideTheTreeAsReturnedAndDropsIt) {
  ExtensionWorld world;
  const auto outside = NSURL::fileURLWithPath("/outside/a");
  world.library.putDocumentURL(sampleID(1), outside);
  const auto identifier = sampleID(1).asString();
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ(nullptr, extension->_URLForItemWithPersistentIdentifier(identifier, true, true));
  EXPECT_FALSE(gv_hasPhysicalProperty(outside));
  EXPECT_EQ((LogLines{debugLine("┏1 asked url for " + identifier),
                      debugLine("returning " + described(outside)), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(IdentifierToURL, MarksAURLAsPhysicalOnlyWhenAskedTo) {
  ExtensionWorld world;
  const auto identifier = sampleID(1).asString();
  const auto extension = GVFileProviderExtension::create();
  for (const bool resolve : {false, true}) {
    world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/a"));
    EXPECT_FALSE(gv_hasPhysicalProperty(
        extension->_URLForItemWithPersistentIdentifier(identifier, resolve)));
    EXPECT_FALSE(gv_hasPhysicalProperty(
        extension->_URLForItemWithPersistentIdentifier(identifier, resolve, false)));
    EXPECT_TRUE(gv_hasPhysicalProperty(
        extension->_URLForItemWithPersistentIdentifier(identifier, resolve, true)));
  }
}

TEST(IdentifierToURL, GivesThePlatformAnUnmarkedURL) {
  ExtensionWorld world;
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/a"));
  EXPECT_FALSE(
      gv_hasPhysicalProperty(GVFileProviderExtension::create()->URLForItemWithPersistentIdentifier(
          sampleID(1).asString())));
}

}  // namespace
}  // namespace tessera
