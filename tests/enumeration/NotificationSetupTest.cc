#include <gtest/gtest.h>

#include "EnumeratorUnderTest.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

const std::string kSignal = "signal(" + sampleID(100).asString() + ")";
constexpr const char* kRootSignal = "signal(NSFileProviderRootContainerItemIdentifier)";

void post(const char* name) {
  NSNotificationCenter::defaultCenter().postNotification(name);
}

TEST(NotificationSetup, WatchesTheChildrenOfAFolder) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  EXPECT_EQ((std::vector<std::string>{"daemon.getItemUpdateSender", "sender.proxy1.boostPriority",
                                      "sender.proxy2.watch(/tree/folder, 19)"}),
            world.calls->calls());
  EXPECT_TRUE(world.logged().empty());
}

TEST(NotificationSetup, WatchesTheSubtreeWhenRecursive) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world, true);
  const auto sender = folder.connect();
  EXPECT_EQ(1U, world.calls->count("sender.proxy2.watch(/tree/folder, 23)"));
}

TEST(NotificationSetup, MakesTheEnumeratorTheReceiver) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const HandlerOnce<NSErrorPtr> ready;
  folder->setupNotificationReceivingIfNeededWithCompletion(ready.handler());
  const auto request = world.daemon.senders.take();
  EXPECT_EQ(folder.operator->(), dynamic_cast<GVFileEnumerator*>(request.receiver.get()));
  request.reply(std::make_shared<FakeUpdateSender>(world.calls), {}, nullptr);
  EXPECT_EQ(nullptr, ready.value());
}

TEST(NotificationSetup, GivesTheBoostAnEmptyCompletion) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto boost = sender->boosts().take();
  ASSERT_TRUE(boost.reply);
  boost.reply();
  EXPECT_TRUE(world.logged().empty());
}

TEST(NotificationSetup, IsReadyBeforeTheWatchStands) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();  // returns although the watch was not answered
  sender->watches().take().reply(nullptr);
  folder.settle();
  EXPECT_TRUE(sender->isProxyHeld(1));
  EXPECT_TRUE(world.logged().empty());
}

TEST(NotificationSetup, IsDoneOnce) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const HandlerOnce<NSErrorPtr> again;
  folder->setupNotificationReceivingIfNeededWithCompletion(again.handler());
  EXPECT_EQ(nullptr, again.value());
  EXPECT_EQ(1U, world.calls->count("daemon.getItemUpdateSender"));
}

TEST(NotificationSetup, HandsTheDaemonsErrorOnAndTriesAgainNextTime) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto error = gvc_errorLoggedOut();
  const HandlerOnce<NSErrorPtr> failed;
  folder->setupNotificationReceivingIfNeededWithCompletion(failed.handler());
  world.daemon.senders.take().reply(nullptr, {}, error);
  EXPECT_EQ(error, failed.value());  // not translated here
  const auto sender = folder.connect();
  EXPECT_TRUE(sender->isProxyHeld(1));
  EXPECT_TRUE(world.logged(LogType::Fault).empty());  // the first set-up is over
}

TEST(NotificationSetup, HandsAConnectionErrorOnAndTriesAgainNextTime) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto error = gvc_errorLoggedOut();
  const HandlerOnce<NSErrorPtr> failed;
  folder->setupNotificationReceivingIfNeededWithCompletion(failed.handler());
  world.daemon.senders.take().failConnection(error);
  EXPECT_EQ(error, failed.value());
  const auto sender = folder.connect();
  EXPECT_TRUE(world.logged(LogType::Fault).empty());
}

TEST(NotificationSetup, ReportsASecondOneInFlightAndCarriesOn) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const HandlerOnce<NSErrorPtr> first;
  const HandlerOnce<NSErrorPtr> second;
  folder->setupNotificationReceivingIfNeededWithCompletion(first.handler());
  const auto firstRequest = world.daemon.senders.take();
  folder->setupNotificationReceivingIfNeededWithCompletion(second.handler());
  const auto secondRequest = world.daemon.senders.take();
  EXPECT_EQ((LogLines{failedAssertion("!_isSettingUpNotificationReceiving")}), world.log.lines());
  firstRequest.reply(std::make_shared<FakeUpdateSender>(world.calls), {}, nullptr);
  secondRequest.reply(std::make_shared<FakeUpdateSender>(world.calls), {}, nullptr);
  EXPECT_EQ(nullptr, first.value());
  EXPECT_EQ(nullptr, second.value());
}

TEST(NotificationSetup, InvalidatesASenderThatComesTooLate) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const HandlerOnce<NSErrorPtr> ready;
  folder->setupNotificationReceivingIfNeededWithCompletion(ready.handler());
  const auto request = world.daemon.senders.take();
  folder->invalidate();
  request.reply(std::make_shared<FakeUpdateSender>(world.calls), {}, nullptr);
  EXPECT_EQ(nullptr, ready.value());
  EXPECT_EQ((std::vector<std::string>{"daemon.getItemUpdateSender", "sender.invalidate"}),
            world.calls->calls());
}

TEST(NotificationSetup, EndsWithInvalidation) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  folder->invalidate();
  folder.settle();
  EXPECT_FALSE(sender->isProxyHeld(1));
  EXPECT_EQ(1U, world.calls->count("sender.proxy1.invalidate"));
  folder->invalidate();
  folder.settle();
  EXPECT_EQ(1U, world.calls->count("sender.proxy1.invalidate"));
  post(GVAccountTokenDidChangeNotification);
  EXPECT_TRUE(world.logged().empty());  // nobody observes any more
}

TEST(NotificationSetup, DoesNotObserveAgainAfterInvalidation) {
  ExtensionWorld world;
  auto root = EnumeratorUnderTest::ofTheRoot(world);
  root->invalidate();
  root.settle();
  post(GVAccountTokenDidChangeNotification);
  post(GVContainerListDidChangeNotification);
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ(0U, world.calls->count("containers.all"));
}

TEST(NotificationSetup, DropsASenderThatFailsWithoutInvalidatingIt) {
  for (const std::size_t failing : {1, 2}) {
    ExtensionWorld world;
    EnumeratorUnderTest folder(world);
    const auto before = folder.anchor();
    const auto sender = folder.connect();
    const auto error = gvc_errorLoggedOut();
    if (failing == 1) {
      EXPECT_TRUE(sender->triggerError(1, error));
    } else {
      sender->watches().take().failProxy(error);
    }
    folder.settle();
    EXPECT_FALSE(sender->isProxyHeld(1));
    EXPECT_EQ(0U, world.calls->count("sender.proxy1.invalidate"));
    EXPECT_EQ((LogLines{debugLine("There was an error while fetching items: " + described(error)),
                        debugLine("invalidating change token"),
                        debugLine("signal changes to fileproviderd")}),
              world.log.lines());
    EXPECT_FALSE(folder.anchor()->isEqualToData(*before));
    EXPECT_EQ(1U, world.calls->count(kSignal));
  }
}

TEST(NotificationSetup, TreatsAFailedWatchAsAFailedSender) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto error = NSError::errorWithDomain(GVTesseraErrorDomain, 3);
  sender->watches().take().reply(error);
  folder.settle();
  EXPECT_FALSE(sender->isProxyHeld(1));
  EXPECT_EQ(1U, world.calls->count(kSignal));
}

TEST(NotificationSetup, SignalsOnlyForErrorsOfTheClientLibrary) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto error = NSError::errorWithDomain(NSCocoaErrorDomain, NSXPCConnectionInterrupted);
  EXPECT_TRUE(sender->triggerError(1, error));
  folder.settle();
  EXPECT_FALSE(sender->isProxyHeld(1));
  EXPECT_EQ((LogLines{debugLine("There was an error while fetching items: " + described(error)),
                      debugLine("invalidating change token")}),
            world.log.lines());
  EXPECT_EQ(0U, world.calls->count(kSignal));
}

TEST(NotificationSetup, IsDoneAgainAfterASenderFailed) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  auto sender = folder.connect();
  EXPECT_TRUE(sender->triggerError(1, gvc_errorLoggedOut()));
  folder.settle();
  sender = folder.connect();
  EXPECT_TRUE(sender->isProxyHeld(1));
  EXPECT_EQ(2U, world.calls->count("sender.proxy2.watch(/tree/folder, 19)"));
}

TEST(NotificationSetup, ObservesTheAccountOnceHoweverOftenItIsDone) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  folder.settle();
  folder.settle();
  post(GVAccountTokenDidChangeNotification);
  EXPECT_EQ((std::vector<std::string>{"[NOTICE] received account did update notification, "
                                      "invalidating change token"}),
            world.logged(LogType::Default));
}

TEST(NotificationSetup, DoesNotObserveBeforeTheFirstListing) {
  ExtensionWorld world;
  auto root = EnumeratorUnderTest::ofTheRoot(world);
  post(GVAccountTokenDidChangeNotification);
  post(GVContainerListDidChangeNotification);
  EXPECT_TRUE(world.logged().empty());
}

TEST(AccountChange, StartsANewGenerationWithoutASender) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  folder.settle();
  const auto before = folder.anchor();
  post(GVAccountTokenDidChangeNotification);
  EXPECT_FALSE(folder.anchor()->isEqualToData(*before));  // when the post returns
  EXPECT_EQ(1U, world.calls->count(kSignal));
  EXPECT_EQ(
      (LogLines{noticeLine("received account did update notification, invalidating change token"),
                debugLine("invalidating change token"),
                debugLine("signal changes to fileproviderd")}),
      world.log.lines());
}

TEST(AccountChange, IsOnlyLoggedWhileASenderIsInPlace) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  const auto before = folder.anchor();
  post(GVAccountTokenDidChangeNotification);
  EXPECT_TRUE(folder.anchor()->isEqualToData(*before));
  EXPECT_EQ(0U, world.calls->count(kSignal));
  EXPECT_EQ(
      (LogLines{noticeLine("received account did update notification, invalidating change token")}),
      world.log.lines());
}

TEST(ContainerListChange, StartsANewGenerationOfTheRoot) {
  ExtensionWorld world;
  auto root = EnumeratorUnderTest::ofTheRoot(world);
  const auto sender = root.connect();
  EXPECT_EQ(1U, world.calls->count("containers.all"));  // so that the list's changes are told
  const auto before = root.anchor();
  post(GVContainerListDidChangeNotification);
  EXPECT_FALSE(root.anchor()->isEqualToData(*before));
  EXPECT_EQ(1U, world.calls->count(kRootSignal));
  EXPECT_EQ((LogLines{debugLine("┏1 container list did change, invalidating our change token"),
                      debugLine("invalidating change token"),
                      debugLine("signal changes to fileproviderd"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(ContainerListChange, DoesNotConcernOtherFolders) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto sender = folder.connect();
  post(GVContainerListDidChangeNotification);
  EXPECT_TRUE(world.logged().empty());
  EXPECT_EQ(0U, world.calls->count("containers.all"));
}

TEST(NotificationSetup, LetsGoOfAnEnumeratorThatIsNotConnected) {
  ExtensionWorld world;
  std::weak_ptr<GVFileEnumerator> weak;
  {
    auto enumerator = EnumeratorUnderTest(world).release();
    weak = enumerator;
    enumerator->receiveUpdates({}, {}, {}, [] {});
  }
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace tessera
