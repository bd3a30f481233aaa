#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVErrors.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

LogLines gateLine(const char* fate, const NSErrorPtr& error) {
  return {errorLine(std::string("-[GVFileProviderExtension _isLoggedInOrError:]: ") + fate +
                    " error: " + described(error))};
}

void expectLoggedOut(const NSErrorPtr& error) {
  ASSERT_NE(nullptr, error);
  EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
  EXPECT_EQ(-1000, error->code());
  EXPECT_EQ(1U, error->userInfo().size());
  const auto underlying = error->underlyingError();
  ASSERT_NE(nullptr, underlying);
  EXPECT_EQ(gvc_errorLoggedOut()->domain(), underlying->domain());
  EXPECT_EQ(gvc_errorLoggedOut()->code(), underlying->code());
}

TEST(AccountGate, LetsAnAccountPassThatCanBeUsedHere) {
  const ExtensionWorld world;
  NSErrorPtr error;
  EXPECT_TRUE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  EXPECT_EQ(nullptr, error);
  EXPECT_TRUE(world.logged().empty());
}

TEST(AccountGate, LeavesTheCallersErrorAloneOnSuccess) {
  const ExtensionWorld world;
  const auto before = NSError::errorWithDomain("domain", 1);
  NSErrorPtr error = before;
  EXPECT_TRUE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  EXPECT_EQ(before, error);
}

TEST(AccountGate, RefusesWhenNobodyIsSignedIn) {
  ExtensionWorld world;
  world.library.setAccount(nullptr);
  NSErrorPtr error;
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  expectLoggedOut(error);
  EXPECT_EQ(gateLine("(passed to caller)", error), world.log.lines());
}

TEST(AccountGate, RefusesAnAccountThatCannotBeUsedHere) {
  ExtensionWorld world;
  const std::optional<std::string> noIdentifier;
  world.library.setAccount(std::make_shared<GVAccount>("somebody", noIdentifier));
  NSErrorPtr error;
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  expectLoggedOut(error);
  EXPECT_EQ(gateLine("(passed to caller)", error), world.log.lines());
}

TEST(AccountGate, HandsOnAnErrorOfTheLibraryThatHasNoTranslation) {
  ExtensionWorld world;
  const auto network = NSError::errorWithDomain("NSURLErrorDomain", -1009);
  world.library.setAccount(nullptr, network);
  NSErrorPtr error;
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  EXPECT_EQ(network, error);
  EXPECT_EQ(gateLine("(passed to caller)", network), world.log.lines());
}

TEST(AccountGate, TranslatesTheLibrarysOwnLoggedOutError) {
  ExtensionWorld world;
  const auto loggedOut = NSError::errorWithDomain(GVTesseraErrorDomain, 2);
  world.library.setAccount(nullptr, loggedOut);
  NSErrorPtr error;
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  EXPECT_EQ(-1000, error->code());
  EXPECT_EQ(loggedOut, error->underlyingError());
  EXPECT_EQ(gateLine("(passed to caller)", error), world.log.lines());
}

TEST(AccountGate, LetsAnErrorWinOverAnAccount) {
  ExtensionWorld world;
  const auto network = NSError::errorWithDomain("NSURLErrorDomain", -1009);
  world.library.setAccount(std::make_shared<GVAccount>("somebody", "somebody-here"), network);
  NSErrorPtr error;
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(&error));
  EXPECT_EQ(network, error);
}

TEST(AccountGate, LogsALibraryErrorThatTheCallerIgnores) {
  ExtensionWorld world;
  const auto network = NSError::errorWithDomain("NSURLErrorDomain", -1009);
  world.library.setAccount(nullptr, network);
  EXPECT_FALSE(GVFileProviderExtension::create()->_isLoggedInOrError(nullptr));
  EXPECT_EQ(gateLine("(ignored by caller)", network), world.log.lines());
}

TEST(AccountGate, LogsThatNobodyIsSignedInToACallerWhoIgnoresIt) {
  ExtensionWorld world;
  world.library.setAccount(nullptr);
  NSErrorPtr error;
  const auto extension = GVFileProviderExtension::create();
  EXPECT_FALSE(extension->_isLoggedInOrError(&error));
  world.log.clear();
  EXPECT_FALSE(extension->_isLoggedInOrError(nullptr));
  EXPECT_EQ(gateLine("(ignored by caller)", error), world.log.lines());
}

TEST(AccountGate, AsksAgainEveryTime) {
  ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  EXPECT_TRUE(extension->_isLoggedInOrError(nullptr));
  world.library.setAccount(nullptr);
  EXPECT_FALSE(extension->_isLoggedInOrError(nullptr));
  world.library.setAccount(std::make_shared<GVAccount>("other", "other-here"));
  EXPECT_TRUE(extension->_isLoggedInOrError(nullptr));
  EXPECT_EQ(3U, world.calls->count("account.current"));
}

}  // namespace
}  // namespace tessera
