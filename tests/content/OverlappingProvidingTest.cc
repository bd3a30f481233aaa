#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

constexpr const char* kTaken = "[CRIT] Assertion failed: _downloadOperationByPath[path] == nil";
constexpr const char* kGone = "[CRIT] Assertion failed: self->_downloadOperationByPath[path]";

// Two requests for one path; the downloads in the order in which they were asked for.
struct Overlap {
  explicit Overlap(ExtensionWorld& world) {
    extension->startProvidingItemAtURL(url, first.handler());
    downloads.push_back(world.operations.downloads().take());
    EXPECT_TRUE(world.logged(LogType::Fault).empty());  // the first is nothing unusual
    extension->startProvidingItemAtURL(url, second.handler());
    downloads.push_back(world.operations.downloads().take());
    EXPECT_EQ((std::vector<std::string>{kTaken}), world.logged(LogType::Fault));
  }

  const NSURLPtr url = NSURL::fileURLWithPath("/tree/a");
  const std::shared_ptr<GVFileProviderExtension> extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> first;
  const HandlerOnce<NSErrorPtr> second;
  std::vector<FakeOperationRemote::Download> downloads;
};

TEST(OverlappingProviding, ReportsBothBreachesAndAnswersBothInTheOrderOfTheRequests) {
  ExtensionWorld world;
  Overlap overlap(world);
  EXPECT_NE(overlap.downloads[0].operation, overlap.downloads[1].operation);
  overlap.downloads[0].reply(nullptr);
  EXPECT_EQ(1U, overlap.first.calls());
  EXPECT_EQ(0U, overlap.second.calls());
  EXPECT_EQ((std::vector<std::string>{kTaken}), world.logged(LogType::Fault));
  overlap.downloads[1].reply(nullptr);
  EXPECT_EQ(1U, overlap.second.calls());
  EXPECT_EQ((LogLines{debugLine("┣1 start providing /tree/a (readingOptions: 0)"),
                      debugLine("┣3 start providing /tree/a (readingOptions: 0)"),
                      failedAssertion("_downloadOperationByPath[path] == nil"),
                      debugLine("┳1 item providing completion; (null)"), debugLine("┗1 "),
                      debugLine("┳3 item providing completion; (null)"),
                      failedAssertion("self->_downloadOperationByPath[path]"), debugLine("┗3 ")}),
            world.log.lines());
}

TEST(OverlappingProviding, ReportsTheSecondBreachWhicheverEndsFirst) {
  ExtensionWorld world;
  Overlap overlap(world);
  overlap.downloads[1].reply(nullptr);
  EXPECT_EQ(1U, overlap.second.calls());
  EXPECT_EQ(0U, overlap.first.calls());
  EXPECT_EQ((std::vector<std::string>{kTaken}), world.logged(LogType::Fault));
  overlap.downloads[0].reply(nullptr);
  EXPECT_EQ(1U, overlap.first.calls());
  EXPECT_EQ((std::vector<std::string>{kTaken, kGone}), world.logged(LogType::Fault));
}

TEST(OverlappingProviding, LeavesThePathFreeAfterwards) {
  ExtensionWorld world;
  Overlap overlap(world);
  overlap.downloads[0].reply(nullptr);
  overlap.downloads[1].reply(nullptr);
  world.log.clear();
  const HandlerOnce<NSErrorPtr> third;
  overlap.extension->startProvidingItemAtURL(overlap.url, third.handler());
  world.operations.downloads().take().reply(nullptr);
  EXPECT_EQ(nullptr, third.value());
  EXPECT_TRUE(world.logged(LogType::Fault).empty());
}

TEST(OverlappingProviding, IsNoBreachForDifferentPaths) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const HandlerOnce<NSErrorPtr> first;
  const HandlerOnce<NSErrorPtr> second;
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/a"), first.handler());
  extension->startProvidingItemAtURL(NSURL::fileURLWithPath("/tree/b"), second.handler());
  const auto one = world.operations.downloads().take();
  const auto other = world.operations.downloads().take();
  one.reply(nullptr);
  other.reply(nullptr);
  EXPECT_TRUE(world.logged(LogType::Fault).empty());
}

TEST(OverlappingProviding, KeepsThePathTakenUntilACancelledDownloadHasEnded) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const HandlerOnce<NSErrorPtr> first;
  extension->startProvidingItemAtURL(url, first.handler());
  world.operations.downloads().take().operation->cancel();
  EXPECT_EQ(3072, first.value()->code());
  const HandlerOnce<NSErrorPtr> second;
  extension->startProvidingItemAtURL(url, second.handler());
  world.operations.downloads().take().reply(nullptr);
  EXPECT_TRUE(world.logged(LogType::Fault).empty());
}

TEST(OverlappingProviding, MayBeginFromWithinAnAnswer) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  const auto url = NSURL::fileURLWithPath("/tree/a");
  const HandlerOnce<NSErrorPtr> again;
  extension->startProvidingItemAtURL(
      url, [&](const NSErrorPtr&) { extension->startProvidingItemAtURL(url, again.handler()); });
  world.operations.downloads().take().reply(nullptr);
  world.operations.downloads().take().reply(nullptr);
  EXPECT_EQ(nullptr, again.value());
  EXPECT_TRUE(world.logged(LogType::Fault).empty());  // the path was free already
}

}  // namespace
}  // namespace tessera
