#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "enumeration/GVFileEnumerator.h"
#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/fileprovider/FakeChangeObserver.h"
#include "tests/support/fileprovider/FakeEnumerationObserver.h"
#include "tests/support/tessera/FakeUpdateSender.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {

// A file enumerator and what a test does with it. Ends it when it goes, and waits until
// its queue has nothing left to do.
class EnumeratorUnderTest {
 public:
  static constexpr const char* kPath = "/tree/folder";

  // The enumerator of an ordinary folder: sampleID(100) at kPath.
  explicit EnumeratorUnderTest(ExtensionWorld& world, bool recursive = false)
      : EnumeratorUnderTest(world, sampleID(100), sampleID(100).asString(), recursive) {}

  EnumeratorUnderTest(ExtensionWorld& world, const std::optional<GVFileObjectID>& fileObjectID,
                      const std::string& identifier, bool recursive = false)
      : _world(world),
        _enumerator(GVFileEnumerator::create(fileObjectID, NSURL::fileURLWithPath(kPath),
                                             identifier, recursive)) {}

  [[nodiscard]] static EnumeratorUnderTest ofTheRoot(ExtensionWorld& world) {
    return {world, std::nullopt, NSFileProviderRootContainerItemIdentifier};
  }

  EnumeratorUnderTest(const EnumeratorUnderTest&) = delete;
  EnumeratorUnderTest& operator=(const EnumeratorUnderTest&) = delete;
  ~EnumeratorUnderTest() {
    if (!_enumerator) return;
    _enumerator->invalidate();
    settle();
  }

  GVFileEnumerator* operator->() const { return _enumerator.get(); }
  // Lets go of it without ending it; the test keeps it from there.
  std::shared_ptr<GVFileEnumerator> release() { return std::move(_enumerator); }

  // Has notifications set up, with a new sender.
  std::shared_ptr<FakeUpdateSender> connect() {
    const HandlerOnce<NSErrorPtr> ready;
    _enumerator->setupNotificationReceivingIfNeededWithCompletion(ready.handler());
    auto sender = std::make_shared<FakeUpdateSender>(_world.calls);
    _world.daemon.senders.take().reply(sender, {}, nullptr);
    EXPECT_EQ(nullptr, ready.value());
    return sender;
  }

  // Returns once the queue has done all that it was given so far. A set-up of notifications
  // that this causes is refused.
  void settle() {
    _world.daemon.refuseSenders(NSError::errorWithDomain("refused", 1));
    const HandlerOnce<NSErrorPtr> done;
    _enumerator->setupNotificationReceivingIfNeededWithCompletion(done.handler());
    done.wait();
    _world.daemon.refuseSenders(nullptr);
  }

  NSFileProviderSyncAnchor anchor() const {
    const HandlerOnce<NSFileProviderSyncAnchor> current;
    _enumerator->currentSyncAnchorWithCompletionHandler(current.handler());
    return current.value();
  }

  // Pushes one batch and waits for the reply.
  void push(const GVQueryItems& items) const {
    const HandlerOnce<> replied;
    _enumerator->receiveUpdates(items, {}, {}, replied.handler());
    replied.wait();
  }

  FakeChangeObserver::Batch changes(const NSFileProviderSyncAnchor& from) const {
    const auto observer = std::make_shared<FakeChangeObserver>(_world.calls);
    _enumerator->enumerateChangesForObserver(observer, from);
    return observer->batch();
  }

 private:
  ExtensionWorld& _world;
  std::shared_ptr<GVFileEnumerator> _enumerator;
};

}  // namespace tessera
