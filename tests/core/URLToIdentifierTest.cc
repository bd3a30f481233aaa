#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

TEST(URLToIdentifier, LooksTheItemUp) {
  ExtensionWorld world;
  const auto item = sampleItem(1);
  const auto identifier = item->itemIdentifier();
  world.library.putItem("/tree/a", item);
  EXPECT_EQ(identifier, GVFileProviderExtension::create()->persistentIdentifierForItemAtURL(
                            NSURL::fileURLWithPath("/tree/a")));
  EXPECT_EQ(1U, world.calls->count("item.query(/tree/a, scan=0)"));
  EXPECT_EQ((LogLines{debugLine("┏1 asked identifier for /tree/a"),
                      debugLine("┏3 asked properties for /tree/a"),
                      debugLine("returning " + described(item)), debugLine("┗3 "),
                      debugLine("returning " + identifier), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(URLToIdentifier, SaysNothingOfAURLOutsideTheTree) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ(std::nullopt,
            extension->persistentIdentifierForItemAtURL(NSURL::fileURLWithPath("/outside/a")));
  EXPECT_EQ(std::nullopt, extension->persistentIdentifierForItemAtURL(nullptr));
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ(1U, log_section_create(false));  // no section has been made
}

TEST(URLToIdentifier, LogsALookupThatFails) {
  ExtensionWorld world;
  world.library.putItem("/tree/a", nullptr, NSError::errorWithDomain("domain", 3));
  const auto url = NSURL::fileURLWithPath("/tree/a");
  EXPECT_EQ(std::nullopt, GVFileProviderExtension::create()->persistentIdentifierForItemAtURL(url));
  const auto error = NSError::errorWithDomain("domain", 3);
  EXPECT_EQ((LogLines{debugLine("┏1 asked identifier for /tree/a"),
                      debugLine("┏3 asked properties for /tree/a"), debugLine("returning (null)"),
                      debugLine("┗3 "),
                      debugLine("couldn't get item identifier at " + described(url) + ": " +
                                described(error)),
                      debugLine("returning (null)"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(URLToIdentifier, LogsTheErrorOfALookupTranslated) {
  ExtensionWorld world;
  world.library.putItem("/tree/a", nullptr, gvc_errorLoggedOut());
  const auto url = NSURL::fileURLWithPath("/tree/a");
  EXPECT_EQ(std::nullopt, GVFileProviderExtension::create()->persistentIdentifierForItemAtURL(url));
  EXPECT_NE(std::string::npos, world.logged().at(4).find("Code=-1000")) << world.logged().at(4);
}

TEST(URLToIdentifier, IsNilWhenALookupGivesAnItemAndAnError) {
  ExtensionWorld world;
  world.library.putItem("/tree/a", sampleItem(1), NSError::errorWithDomain("domain", 3));
  EXPECT_EQ(std::nullopt, GVFileProviderExtension::create()->persistentIdentifierForItemAtURL(
                              NSURL::fileURLWithPath("/tree/a")));
}

TEST(URLToIdentifier, IsNilWithoutAnErrorWhenNoItemComesBack) {
  ExtensionWorld world;
  const auto url = NSURL::fileURLWithPath("/tree/box");
  world.library.putContainer("box", url);  // cannot be turned into a record
  EXPECT_EQ(std::nullopt, GVFileProviderExtension::create()->persistentIdentifierForItemAtURL(url));
  EXPECT_EQ((LogLines{debugLine("┏1 asked identifier for /tree/box"),
                      debugLine("┏3 asked properties for /tree/box"), debugLine("returning (null)"),
                      debugLine("┗3 "), debugLine("returning (null)"), debugLine("┗1 ")}),
            world.log.lines());
}

}  // namespace
}  // namespace tessera
