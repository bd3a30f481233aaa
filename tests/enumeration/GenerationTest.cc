#include <gtest/gtest.h>

#include <functional>

#include "EnumeratorUnderTest.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

struct Cause {
  const char* name;
  bool connected;
  std::function<void(EnumeratorUnderTest&, FakeUpdateSender*)> happen;
};

const Cause kCauses[] = {
    {"an expired anchor", true,
     [](EnumeratorUnderTest& root, FakeUpdateSender*) { root.changes(nullptr); }},
    {"more entries than the buffer holds", true,
     [](EnumeratorUnderTest& root, FakeUpdateSender*) {
       root.push(GVQueryItems(5001, sampleDeadItem(1)));
     }},
    {"an error of the sender", true,
     [](EnumeratorUnderTest& root, FakeUpdateSender* sender) {
       EXPECT_TRUE(sender->triggerError(1, NSError::errorWithDomain("domain", 1)));
       root.settle();
     }},
    {"an account change without a sender", false,
     [](EnumeratorUnderTest& root, FakeUpdateSender*) {
       root.settle();
       NSNotificationCenter::defaultCenter().postNotification(GVAccountTokenDidChangeNotification);
     }},
    {"a change of the container list", true,
     [](EnumeratorUnderTest&, FakeUpdateSender*) {
       NSNotificationCenter::defaultCenter().postNotification(GVContainerListDidChangeNotification);
     }},
};

TEST(Generation, BeginsAnewAtRankZeroWithAnEmptyBufferWhateverTheCause) {
  for (const Cause& cause : kCauses) {
    SCOPED_TRACE(cause.name);
    ExtensionWorld world;
    auto root = EnumeratorUnderTest::ofTheRoot(world);
    const auto sender = cause.connected ? root.connect() : nullptr;
    root.push({sampleItem(1)});
    const auto handedOut = root.changes(root.anchor());
    root.push({sampleItem(2), sampleDeadItem(3)});
    cause.happen(root, sender.get());

    const auto now = root.anchor();
    const auto batch = root.changes(now);  // of rank 0, and valid
    EXPECT_EQ(nullptr, batch.error);
    EXPECT_TRUE(batch.updated.empty());
    EXPECT_TRUE(batch.deleted.empty());
    EXPECT_EQ(-1002, root.changes(handedOut.anchor).error->code());
  }
}

TEST(Generation, SurvivesSetUpAndInvalidation) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  const auto before = folder.anchor();
  const auto sender = folder.connect();
  folder.push({sampleItem(1)});
  folder->invalidate();
  folder.settle();
  EXPECT_TRUE(folder.anchor()->isEqualToData(*before));
  EXPECT_EQ(1U, folder.changes(before).updated.size());
}

}  // namespace
}  // namespace tessera
