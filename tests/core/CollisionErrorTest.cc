#include <gtest/gtest.h>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

NSErrorPtr fileExists(const std::string& path) {
  return NSError::errorWithDomain(NSCocoaErrorDomain, 516,
                                  {{NSURLErrorKey, NSObjectPtr(NSURL::fileURLWithPath(path))}});
}

TEST(CollisionError, NamesTheItemInTheWay) {
  ExtensionWorld world;
  const auto existing = sampleItem(1);
  world.library.putItem("/tree/a", existing);
  const auto error =
      GVFileProviderExtension::create()->fileProviderErrorFromFSError(fileExists("/tree/a"));
  EXPECT_EQ(NSFileProviderErrorDomain, error->domain());
  EXPECT_EQ(-1001, error->code());
  EXPECT_EQ(NSObjectPtr(existing),
            std::get<NSObjectPtr>(error->userInfo().at(NSFileProviderErrorCollidingItemKey)));
  EXPECT_EQ(1U, world.calls->count("item.query(/tree/a, scan=0)"));
}

TEST(CollisionError, LeavesAnErrorAloneThatDoesNotSayWhere) {
  const ExtensionWorld world;
  const auto error = NSError::errorWithDomain(NSCocoaErrorDomain, 516);
  EXPECT_EQ(error, GVFileProviderExtension::create()->fileProviderErrorFromFSError(error));
}

TEST(CollisionError, LeavesAnErrorAloneWhenNothingIsKnownInTheWay) {
  const ExtensionWorld world;
  const auto extension = GVFileProviderExtension::create();
  for (const char* path : {"/tree/nothing", "/outside/a"}) {
    const auto error = fileExists(path);
    EXPECT_EQ(error, extension->fileProviderErrorFromFSError(error));
  }
}

TEST(CollisionError, LeavesAllOtherErrorsAlone) {
  ExtensionWorld world;
  world.library.putItem("/tree/a", sampleItem(1));
  const NSErrorUserInfo info{{NSURLErrorKey, NSObjectPtr(NSURL::fileURLWithPath("/tree/a"))}};
  const auto extension = GVFileProviderExtension::create();
  for (const auto& error : {NSError::errorWithDomain(NSCocoaErrorDomain, 515, info),
                            NSError::errorWithDomain(NSCocoaErrorDomain, 517, info),
                            NSError::errorWithDomain(NSPOSIXErrorDomain, 516, info),
                            NSError::errorWithDomain(NSCocoaErrorDomain, 4354, info),
                            NSError::errorWithDomain("GVTesseraErrorDomain", 2, info)}) {
    EXPECT_EQ(error, extension->fileProviderErrorFromFSError(error));  // not translated either
  }
  EXPECT_EQ(0U, world.calls->count("item.query(/tree/a, scan=0)"));
}

TEST(CollisionError, IsNoneForNone) {
  const ExtensionWorld world;
  EXPECT_EQ(nullptr, GVFileProviderExtension::create()->fileProviderErrorFromFSError(nullptr));
}

}  // namespace
}  // namespace tessera
