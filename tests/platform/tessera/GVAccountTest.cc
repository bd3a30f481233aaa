#include "platform/tessera/GVAccount.h"

#include <gtest/gtest.h>

#include "tests/support/tessera/FakeClientLibrary.h"

namespace tessera {
namespace {

TEST(GVAccount, AsksWhatIsInstalled) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeClientLibrary library(calls);
  const auto account = std::make_shared<GVAccount>("somebody", std::nullopt);
  const auto error = NSError::errorWithDomain("domain", 1);
  library.setAccount(account, error);
  NSErrorPtr reported;
  EXPECT_EQ(account, GVAccount::currentLoggedInAccountWithError(&reported));
  EXPECT_EQ(error, reported);
  EXPECT_EQ("somebody", account->name());
  EXPECT_EQ(std::nullopt, account->perAppAccountIdentifier());
  GVAccount::startAccountTokenChangeObserverIfNeeded();
  EXPECT_EQ((std::vector<std::string>{"account.current", "account.startObserver"}), calls->calls());
}

}  // namespace
}  // namespace tessera
