#include "platform/fileprovider/NSFileProviderManager.h"

#include <gtest/gtest.h>

#include "platform/foundation/InstalledBackend.h"
#include "tests/support/fileprovider/FakeFileProviderManager.h"

namespace tessera {
namespace {

TEST(NSFileProviderManager, IsTheInstalledOne) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeFileProviderManager outer(calls);
  const InstalledBackend<NSFileProviderManager>::Installation outerInstalled(outer);
  EXPECT_EQ(&outer, &NSFileProviderManager::defaultManager());
  {
    FakeFileProviderManager inner(calls);
    const InstalledBackend<NSFileProviderManager>::Installation innerInstalled(inner);
    EXPECT_EQ(&inner, &NSFileProviderManager::defaultManager());
  }
  EXPECT_EQ(&outer, &NSFileProviderManager::defaultManager());
}

}  // namespace
}  // namespace tessera
