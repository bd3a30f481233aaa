#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "EnumeratorUnderTest.h"
#include "enumeration/PageAndChangeTokens.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

UUIDBytes uuidOf(const NSFileProviderSyncAnchor& anchor) {
  UUIDBytes uuid{};
  std::copy_n(anchor->bytes().begin() + 8, uuid.size(), uuid.begin());
  return uuid;
}

TEST(ChangeEnumeration, AnswersNothingNewWithTheAnchorItGot) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  const auto batch = folder.changes(anchor);
  EXPECT_EQ(anchor, batch.anchor);
  EXPECT_FALSE(batch.moreComing);
  EXPECT_EQ((std::vector<std::string>{"observer.finishUpToAnchor"}), world.calls->calls());
  EXPECT_EQ((LogLines{debugLine("┏1 listing changes"), debugLine("requested rank: 0"),
                      debugLine("no update to send back"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(ChangeEnumeration, HandsTheWholeBufferOutAsOneBatch) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  folder.push({sampleItem(1), sampleItem(2), sampleDeadItem(3)});
  world.calls->clear();
  world.log.clear();
  const auto batch = folder.changes(anchor);
  EXPECT_EQ(2U, batch.updated.size());
  EXPECT_EQ((std::vector<std::string>{sampleID(3).asString()}), batch.deleted);
  EXPECT_FALSE(batch.moreComing);
  EXPECT_EQ(1, gv_changeTokenRankWithUUID(batch.anchor, uuidOf(anchor)));
  EXPECT_EQ((std::vector<std::string>{"observer.didUpdateItems(2)", "observer.didDeleteItems(1)",
                                      "observer.finishUpToAnchor"}),
            world.calls->calls());
  EXPECT_EQ(
      (LogLines{debugLine("┏1 listing changes"), debugLine("requested rank: 0"), debugLine("┗1 ")}),
      world.log.lines());
}

TEST(ChangeEnumeration, MakesBothCallsEvenWhenOneListIsEmpty) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleItem(1)});
  const auto first = folder.changes(folder.anchor());
  folder.push({sampleDeadItem(1)});
  folder.changes(first.anchor);
  EXPECT_EQ(1U, world.calls->count("observer.didUpdateItems(1)"));
  EXPECT_EQ(1U, world.calls->count("observer.didDeleteItems(0)"));
  EXPECT_EQ(1U, world.calls->count("observer.didUpdateItems(0)"));
  EXPECT_EQ(1U, world.calls->count("observer.didDeleteItems(1)"));
}

TEST(ChangeEnumeration, CountsTheBatchesHandedOut) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto start = folder.anchor();
  auto anchor = start;
  for (std::int64_t rank = 1; rank <= 3; ++rank) {
    folder.push({sampleItem(static_cast<std::uint64_t>(rank))});
    const auto batch = folder.changes(anchor);
    ASSERT_EQ(nullptr, batch.error);
    EXPECT_EQ(1U, batch.updated.size());
    EXPECT_EQ(rank, gv_changeTokenRankWithUUID(batch.anchor, uuidOf(start)));
    anchor = batch.anchor;
    EXPECT_EQ(anchor, folder.changes(anchor).anchor);  // an empty answer does not count
  }
}

TEST(ChangeEnumeration, ExpiresAnAnchorOfAnotherGenerationEvenIfTheRankMatches) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  UUIDBytes other{};
  uuid_generate(other);
  const auto before = folder.anchor();
  const auto batch = folder.changes(gv_changeTokenFromRank(0, other));
  ASSERT_NE(nullptr, batch.error);
  EXPECT_EQ(NSFileProviderErrorDomain, batch.error->domain());
  EXPECT_EQ(-1002, batch.error->code());
  EXPECT_TRUE(batch.error->userInfo().empty());
  EXPECT_FALSE(folder.anchor()->isEqualToData(*before));
  EXPECT_EQ((LogLines{debugLine("┏1 listing changes"), debugLine("requested rank: -1"),
                      debugLine("token expired (current rank 0)"),
                      debugLine("invalidating change token"), debugLine("┗1 ")}),
            world.log.lines());
}

TEST(ChangeEnumeration, ExpiresAnAnchorOfAnEarlierRank) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto start = folder.anchor();
  folder.push({sampleItem(1)});
  folder.changes(start);
  world.log.clear();
  EXPECT_EQ(-1002, folder.changes(start).error->code());
  EXPECT_EQ("[DEBUG] requested rank: 0", world.logged().at(1));
  EXPECT_EQ("[DEBUG] token expired (current rank 1)", world.logged().at(2));
}

TEST(ChangeEnumeration, ExpiresAnAnchorOfAHugeRank) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto uuid = uuidOf(folder.anchor());
  EXPECT_EQ(-1002,
            folder.changes(gv_changeTokenFromRank(std::uint64_t{1} << 63, uuid)).error->code());
}

TEST(ChangeEnumeration, AlwaysReportsAnAnchorOfRankZero) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto start = folder.anchor();
  folder.push({sampleItem(1)});
  const auto first = folder.changes(start);
  folder.push({sampleItem(2)});
  folder.changes(first.anchor);
  const auto current = folder.anchor();
  EXPECT_TRUE(current->isEqualToData(*start));
  EXPECT_EQ(0, gv_changeTokenRankWithUUID(current, uuidOf(start)));
  // Whoever starts from it has to list again, in a new generation.
  EXPECT_EQ(-1002, folder.changes(current).error->code());
  EXPECT_FALSE(folder.anchor()->isEqualToData(*start));
  EXPECT_EQ(nullptr, folder.changes(folder.anchor()).error);
}

TEST(ChangeEnumeration, DropsTheBufferWhenAnAnchorIsExpired) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleItem(1), sampleDeadItem(2)});
  EXPECT_EQ(-1002, folder.changes(nullptr).error->code());
  const auto batch = folder.changes(folder.anchor());
  EXPECT_EQ(nullptr, batch.error);
  EXPECT_TRUE(batch.updated.empty());
  EXPECT_TRUE(batch.deleted.empty());
}

TEST(ChangeEnumeration, AnswersExpiredBeforeTheNewGenerationBegins) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto before = folder.anchor();
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  NSFileProviderSyncAnchor within;
  observer->whenCalled([&folder, &within] { within = folder.anchor(); });
  folder->enumerateChangesForObserver(observer, nullptr);
  EXPECT_TRUE(within->isEqualToData(*before));
  EXPECT_FALSE(folder.anchor()->isEqualToData(*before));
}

// Calls the observer with a push from another thread under way, and tells whether the push
// could go through meanwhile. Looks often rather than for a while.
bool pushGoesThroughWhileAnswering(ExtensionWorld& world, const EnumeratorUnderTest& folder,
                                   const NSFileProviderSyncAnchor& anchor) {
  constexpr int kLooks = 20000;
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  std::atomic<bool> started{false};
  std::atomic<bool> pushed{false};
  bool wentThrough = false;
  std::thread pusher;
  observer->whenCalled([&] {
    if (pusher.joinable()) return;
    pusher = std::thread([&] {
      started = true;
      folder.push({sampleItem(50)});
      pushed = true;
    });
    while (!started) std::this_thread::yield();
    for (int look = 0; look < kLooks && !pushed; ++look) std::this_thread::yield();
    wentThrough = pushed;
  });
  folder->enumerateChangesForObserver(observer, anchor);
  pusher.join();
  return wentThrough;
}

TEST(ChangeEnumeration, AnswersExpiredAndNothingNewWithTheLockHeld) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  EXPECT_FALSE(pushGoesThroughWhileAnswering(world, folder, folder.anchor()));
  EXPECT_FALSE(pushGoesThroughWhileAnswering(world, folder, nullptr));
}

TEST(ChangeEnumeration, HandsABatchOutWithoutTheLock) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleItem(1)});
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  observer->whenCalled([&folder] {
    std::thread([&folder] { folder.push({sampleItem(2)}); }).join();  // hangs if it is held
  });
  folder->enumerateChangesForObserver(observer, folder.anchor());
  const auto batch = observer->batch();
  EXPECT_EQ(1U, batch.updated.size());
  EXPECT_EQ(1U, folder.changes(batch.anchor).updated.size());  // what came meanwhile
}

TEST(ChangeEnumeration, AnswersTheAnchorRequestWhileTheLockIsHeld) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  observer->whenCalled([&folder] {
    std::thread([&folder] { EXPECT_NE(nullptr, folder.anchor()); }).join();  // hangs if it waits
  });
  folder->enumerateChangesForObserver(observer, folder.anchor());
  EXPECT_EQ(nullptr, observer->batch().error);
}

TEST(ChangeEnumeration, MayBeAskedAgainFromWithinItsAnswer) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  const auto observer = std::make_shared<FakeChangeObserver>(world.calls);
  observer->whenCalled([&folder, &anchor] { EXPECT_EQ(anchor, folder.changes(anchor).anchor); });
  folder->enumerateChangesForObserver(observer, anchor);
  EXPECT_EQ(anchor, observer->batch().anchor);
}

}  // namespace
}  // namespace tessera
