#include <gtest/gtest.h>

#include "ScratchFile.h"
#include "core/GVFileProviderExtension.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

TEST(StartProviding, DownloadsWhatIsNotThere) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), 0x1, provided.handler());
  const auto download = world.operations.downloads().take();
  EXPECT_FALSE(download.wantsCurrentVersion);
  EXPECT_EQ(0U, provided.calls());
  download.reply(nullptr);
  EXPECT_EQ(nullptr, provided.value());
  EXPECT_EQ((std::vector<std::string>{"account.startObserver",
                                      "operation.download(/tree/a, options=0x1, current=0)"}),
            world.calls->calls());
  EXPECT_EQ((LogLines{debugLine("┣1 start providing /tree/a (readingOptions: without-changes)"),
                      debugLine("┳1 item providing completion; (null)"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(StartProviding, AnswersBeforeTheSectionIsClosed) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  std::vector<std::string> loggedBefore;
  extension->startProvidingItemAtURL(
      NSURL::fileURLWithPath("/tree/a"), 0,
      [&world, &loggedBefore](const NSErrorPtr&) { loggedBefore = world.logged(); });
  world.operations.downloads().take().reply(nullptr);
  EXPECT_EQ("[DEBUG] ┳1 item providing completion; (null)", loggedBefore.back());
  EXPECT_EQ("[DEBUG] ┗1 ", world.logged().back());
}

TEST(StartProviding, UsesNoReadingOptionsUnlessTheyAreGiven) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), provided.handler());
  const auto download = world.operations.downloads().take();
  EXPECT_EQ(0U, download.readingOptions);
  EXPECT_EQ("[DEBUG] ┣1 start providing /tree/a (readingOptions: 0)", world.logged().at(0));
  download.reply(nullptr);
}

TEST(StartProviding, TranslatesTheOutcomeAndLogsItAsItIs) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), provided.handler());
  const auto error = gvc_errorLoggedOut();
  world.operations.downloads().take().reply(error);
  EXPECT_EQ(-1000, provided.value()->code());
  EXPECT_EQ(error, provided.value()->underlyingError());
  EXPECT_EQ("[DEBUG] ┳1 item providing completion; " + described(error), world.logged().at(1));
}

TEST(StartProviding, HandsAnErrorWithoutTranslationOn) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), provided.handler());
  const auto download = world.operations.downloads().take();
  download.operation->cancel();
  EXPECT_EQ(NSCocoaErrorDomain, provided.value()->domain());
  EXPECT_EQ(3072, provided.value()->code());
  download.reply(nullptr);  // too late
}

TEST(StartProviding, GrantsAURLOutsideTheTreeAtOnce) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  for (const std::uint64_t options : {0x0, 0x20000}) {
    const HandlerOnce<NSErrorPtr> provided;
    extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/outside/none"), options,
                                       provided.handler());
    EXPECT_EQ(1U, provided.calls());
    EXPECT_EQ(nullptr, provided.value());
  }
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ(1U, log_section_create(false));  // no section has been made
}

TEST(StartProviding, GrantsAFileThatExistsAtOnceAndLeavesTheSectionOpen) {
  const ScratchFile file;
  ExtensionWorld world;
  world.library.putSyncedFolder(file.path());
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath(file.path()), 0xE, provided.handler());
  EXPECT_EQ(1U, provided.calls());
  EXPECT_EQ(nullptr, provided.value());
  EXPECT_EQ((LogLines{debugLine("┣1 start providing " + file.path() +
                                " (readingOptions: "
                                "resolves-symbolic-link|metadata-ony|for-uploading)"),
                      debugLine("url exists, granting the read")}),
            world.log.lines());
  EXPECT_EQ((std::vector<std::string>{"account.startObserver"}), world.calls->calls());
}

TEST(StartProviding, DownloadsAFileThatExistsWhenItsContentIsSaidNotToBeThere) {
  const ScratchFile file;
  ExtensionWorld world;
  world.library.putSyncedFolder(file.path());
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath(file.path()), 0x20001,
                                     provided.handler());
  const auto download = world.operations.downloads().take();
  EXPECT_EQ(0x20001U, download.readingOptions);
  download.reply(nullptr);
  EXPECT_EQ(nullptr, provided.value());
  EXPECT_EQ((LogLines{debugLine("┣1 start providing " + file.path() +
                                " (readingOptions: without-changes|0x20000)"),
                      debugLine("┳1 item providing completion; (null)"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(StartProviding, LooksAtNoOtherBitOfTheReadingOptions) {
  const ScratchFile file;
  ExtensionWorld world;
  world.library.putSyncedFolder(file.path());
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath(file.path()), ~std::uint64_t{0x20000},
                                     provided.handler());
  EXPECT_EQ(1U, provided.calls());
  EXPECT_EQ(0U, world.operations.downloads().size());
}

TEST(StartProviding, AllowsAPromiseURLWithAWordAndAlwaysDownloads) {
  const ScratchFile file;
  ExtensionWorld world;
  world.library.putSyncedFolder(file.path());
  world.library.putPromise(file.path());
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath(file.path()), provided.handler());
  const auto download = world.operations.downloads().take();
  EXPECT_EQ((LogLines{debugLine("┣1 start providing " + file.path() + " (readingOptions: 0)"),
                      errorLine("Someone tries to coordinate at the side fault URL '" +
                                file.path() + "', odd, but allow it")}),
            world.log.lines());
  download.reply(nullptr);
  EXPECT_EQ(nullptr, provided.value());
}

TEST(StartProviding, DoesNotAskForTheAccount) {
  ExtensionWorld world;
  world.library.setAccount(nullptr);
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), provided.handler());
  world.operations.downloads().take().reply(nullptr);
  EXPECT_EQ(nullptr, provided.value());
  EXPECT_EQ(0U, world.calls->count("account.current"));
}

TEST(Placeholder, IsProvidedAtOnce) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> provided;
  extension->providePlaceholderAtURL(NSURL::fileURLWithPath("/tree/a"), provided.handler());
  EXPECT_EQ(1U, provided.calls());
  EXPECT_EQ(nullptr, provided.value());
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ((std::vector<std::string>{"account.startObserver"}), world.calls->calls());
}

TEST(Placeholder, NeedsNoHandler) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  extension->providePlaceholderAtURL(NSURL::fileURLWithPath("/tree/a"), nullptr);
  EXPECT_TRUE(world.logged().empty());
}

}  // namespace
}  // namespace tessera
