#include <gtest/gtest.h>

#include "EnumeratorUnderTest.h"
#include "tests/support/extension/Described.h"
#include "tests/support/extension/LogLines.h"

namespace tessera {
namespace {

const std::string kSignal = "signal(" + sampleID(100).asString() + ")";

using Identifiers = std::vector<std::string>;

GVQueryItems sampleItems(std::uint64_t first, std::uint64_t count) {
  GVQueryItems items;
  for (std::uint64_t i = 0; i < count; ++i) items.push_back(sampleItem(first + i));
  return items;
}

TEST(ChangeBuffer, KeepsOnlyTheUpdateOfAnItemThatDiedAndLives) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto alive = sampleItem(1);
  folder.push({sampleDeadItem(1), alive});
  const auto batch = folder.changes(folder.anchor());
  EXPECT_EQ((NSFileProviderItems{alive}), batch.updated);
  EXPECT_TRUE(batch.deleted.empty());
}

TEST(ChangeBuffer, KeepsOnlyTheDeletionOfAnItemThatLivedAndDied) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleItem(1), sampleDeadItem(1)});
  const auto batch = folder.changes(folder.anchor());
  EXPECT_TRUE(batch.updated.empty());
  EXPECT_EQ((Identifiers{sampleID(1).asString()}), batch.deleted);
}

TEST(ChangeBuffer, KeepsADeletionAsOftenAsItIsPushed) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleDeadItem(1)});
  folder.push({sampleDeadItem(2), sampleDeadItem(1)});
  const auto batch = folder.changes(folder.anchor());
  EXPECT_EQ((Identifiers{sampleID(1).asString(), sampleID(2).asString(), sampleID(1).asString()}),
            batch.deleted);
}

TEST(ChangeBuffer, ForgetsEveryDeletionOfAnItemThatLivesAgain) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({sampleDeadItem(1), sampleDeadItem(2), sampleDeadItem(1)});
  folder.push({sampleItem(1)});
  const auto batch = folder.changes(folder.anchor());
  EXPECT_EQ(1U, batch.updated.size());
  EXPECT_EQ((Identifiers{sampleID(2).asString()}), batch.deleted);
}

TEST(ChangeBuffer, KeepsTheLatestUpdateOfAnItem) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto latest = sampleItem(1, "latest");
  folder.push({sampleItem(1, "first"), sampleItem(1, "second")});
  folder.push({latest});
  EXPECT_EQ((NSFileProviderItems{latest}), folder.changes(folder.anchor()).updated);
}

TEST(ChangeBuffer, SignalsAndRepliesAfterEveryPush) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder->receiveUpdates({sampleItem(1)}, {}, {}, [&world] { world.calls->record("replied"); });
  EXPECT_EQ((std::vector<std::string>{kSignal, "replied"}), world.calls->calls());
  EXPECT_EQ((LogLines{debugLine("signal changes to fileproviderd")}), world.log.lines());
}

TEST(ChangeBuffer, SignalsAndRepliesEvenForAnEmptyPush) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({});
  EXPECT_EQ(1U, world.calls->count(kSignal));
}

TEST(ChangeBuffer, IgnoresTheDictionariesOfAPush) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const HandlerOnce<> replied;
  folder->receiveUpdates({sampleItem(1)}, {{"a", "b"}}, {{"c", "d"}}, replied.handler());
  EXPECT_EQ(1U, folder.changes(folder.anchor()).updated.size());
}

TEST(ChangeBuffer, LogsASignalThatFailsInTheSameWordsForEveryFolder) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  folder.push({});
  const auto error = NSError::errorWithDomain("domain", 1);
  world.manager.signals.take().reply(error);
  EXPECT_EQ(
      (LogLines{debugLine("signal changes to fileproviderd"),
                errorLine("failed to signal enumerator for root container: " + described(error))}),
      world.log.lines());
}

TEST(ChangeBuffer, HoldsFiveThousandEntries) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  folder.push(sampleItems(1, 4000));
  GVQueryItems dead;
  for (std::uint64_t i = 0; i < 1000; ++i) dead.push_back(sampleDeadItem(10000 + i));
  folder.push(dead);
  const auto batch = folder.changes(anchor);
  EXPECT_EQ(nullptr, batch.error);
  EXPECT_EQ(4000U, batch.updated.size());
  EXPECT_EQ(1000U, batch.deleted.size());
  EXPECT_EQ(
      (std::vector<std::string>{kSignal, kSignal, "observer.didUpdateItems(4000)",
                                "observer.didDeleteItems(1000)", "observer.finishUpToAnchor"}),
      world.calls->calls());
}

TEST(ChangeBuffer, IsDroppedWithTheFiveThousandAndFirstEntry) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  folder.push(sampleItems(1, 5000));
  EXPECT_TRUE(folder.anchor()->isEqualToData(*anchor));
  world.log.clear();
  folder.push({sampleDeadItem(9999)});
  EXPECT_EQ((LogLines{debugLine("invalidating change token"),
                      debugLine("signal changes to fileproviderd")}),
            world.log.lines());
  EXPECT_FALSE(folder.anchor()->isEqualToData(*anchor));
  EXPECT_EQ(2U, world.calls->count(kSignal));
  const auto batch = folder.changes(folder.anchor());
  EXPECT_EQ(nullptr, batch.error);
  EXPECT_TRUE(batch.updated.empty());
  EXPECT_TRUE(batch.deleted.empty());
}

TEST(ChangeBuffer, CountsAnItemOnceHoweverOftenItIsUpdated) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  folder.push(sampleItems(1, 5000));
  folder.push(sampleItems(1, 5000));
  EXPECT_TRUE(folder.anchor()->isEqualToData(*anchor));
}

TEST(ChangeBuffer, CountsADeletionAsOftenAsItIsPushed) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  const auto anchor = folder.anchor();
  folder.push(GVQueryItems(5001, sampleDeadItem(1)));
  EXPECT_FALSE(folder.anchor()->isEqualToData(*anchor));
}

TEST(ChangeBuffer, NeverAnswersAProgressUpdate) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  bool replied = false;
  folder->receiveProgressUpdates({sampleItem(1)}, [&replied] { replied = true; });
  EXPECT_FALSE(replied);
  EXPECT_TRUE(world.calls->calls().empty());
  EXPECT_TRUE(world.logged().empty());
  EXPECT_TRUE(folder.changes(folder.anchor()).updated.empty());
}

}  // namespace
}  // namespace tessera
