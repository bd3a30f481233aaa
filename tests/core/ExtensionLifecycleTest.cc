#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

constexpr const char* kAccountLine =
    "received account did update notification, signal changes to fileproviderd";
constexpr const char* kRootSignal = "signal(NSFileProviderRootContainerItemIdentifier)";

void postAccountChange() {
  NSNotificationCenter::defaultCenter().postNotification(GVAccountTokenDidChangeNotification);
}

TEST(ExtensionLifecycle, StartsTheWatchOnTheAccountAndNothingElse) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  EXPECT_EQ((std::vector<std::string>{"account.startObserver"}), world.calls->calls());
  EXPECT_TRUE(world.logged().empty());
}

TEST(ExtensionLifecycle, SignalsTheRootWhenTheAccountChanges) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  postAccountChange();
  EXPECT_EQ((std::vector<std::string>{"account.startObserver", kRootSignal}), world.calls->calls());
  EXPECT_EQ((LogLines{debugLine(kAccountLine)}), world.log.lines());  // and no section
}

TEST(ExtensionLifecycle, SignalsOnceForEveryChange) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  postAccountChange();
  postAccountChange();
  EXPECT_EQ(2U, world.calls->count(kRootSignal));
}

TEST(ExtensionLifecycle, OnlyLogsASignalThatFails) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  postAccountChange();
  const auto error = NSError::errorWithDomain("domain", 5);
  world.manager.signals.take().reply(error);
  EXPECT_EQ(
      (LogLines{debugLine(kAccountLine),
                errorLine("failed to signal enumerator for root container: " + described(error))}),
      world.log.lines());
  EXPECT_EQ(1U, world.calls->count(kRootSignal));  // not tried again
  postAccountChange();
  EXPECT_EQ(2U, world.calls->count(kRootSignal));
}

TEST(ExtensionLifecycle, SaysNothingOfASignalThatSucceeds) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  postAccountChange();
  world.manager.signals.take().reply(nullptr);
  EXPECT_EQ((LogLines{debugLine(kAccountLine)}), world.log.lines());
}

TEST(ExtensionLifecycle, HearsOfNoChangeAfterItsEnd) {
  const ExtensionWorld world;
  auto extension = GVFileProviderExtension::create();
  extension = nullptr;
  postAccountChange();
  EXPECT_EQ(0U, world.calls->count(kRootSignal));
  EXPECT_TRUE(world.logged().empty());
}

TEST(ExtensionLifecycle, LeavesNoRegistrationBehindForTheNextObject) {
  const ExtensionWorld world;
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(nullptr, GVFileProviderExtension::create());
  }
  const auto extension = GVFileProviderExtension::create();
  postAccountChange();
  EXPECT_EQ(1U, world.calls->count(kRootSignal));
}

TEST(ExtensionLifecycle, IsThePlatformsPrincipalObject) {
  const ExtensionWorld world;
  const auto principal = NSExtensionCreatePrincipalObject();
  EXPECT_NE(nullptr, std::dynamic_pointer_cast<GVFileProviderExtension>(principal));
  EXPECT_NE(nullptr, std::dynamic_pointer_cast<NSFileProviderExtension_Private>(principal));
  postAccountChange();
  EXPECT_EQ(1U, world.calls->count(kRootSignal));
}

}  // namespace
}  // namespace tessera
