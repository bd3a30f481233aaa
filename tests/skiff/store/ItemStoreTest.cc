#include "skiff/store/ItemStore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <latch>
#include <thread>

#include "ScratchStore.h"
#include "skiff/store/PromiseName.h"
#include "skiff/store/SkiffError.h"
#include "sqlite/SqliteError.h"

namespace tessera {
namespace {

std::string bytesOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ItemStore, KeepsEveryFieldOverAReopen) {
  ScratchStore store;
  StoredItem item = ScratchStore::item(store.root.id, "Name \n\xc3\xa4");
  item.cloudName = "other";
  item.container = 3;
  item.recordName = "not a uuid";
  item.contentHash = std::string(64, 'a');
  item.contentSize = 7;
  item.targetContainer = "com.example";
  item.targetRecord = "target";
  item.size = 1ull << 40;
  item.createdAt = -1;
  item.modifiedAt = -2'000'000'000;
  item.lastUsedAt = 5;
  item.favoriteRank = -9;
  item.contentType = "text/plain";
  item.tags = {"", "a:b", "3:x\n", "\xc3\xa4"};
  item.executable = true;
  item.state = ContentState::Local;
  item.stamp = FileStamp{1, ~0ull, 3, -4};
  item.localHash = std::string(64, 'b');
  item.uploaded = false;
  store->write([&item](StoreWriter& writer) { writer.insert(item); });
  store.reopen();
  auto found = store->reader()->find(item.uuid);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->name, item.name);
  EXPECT_EQ(found->cloudName, item.cloudName);
  EXPECT_EQ(found->container, item.container);
  EXPECT_EQ(found->recordName, item.recordName);
  EXPECT_EQ(found->changeTag, item.changeTag);
  EXPECT_EQ(found->contentHash, item.contentHash);
  EXPECT_EQ(found->contentSize, item.contentSize);
  EXPECT_EQ(found->targetContainer, item.targetContainer);
  EXPECT_EQ(found->targetRecord, item.targetRecord);
  EXPECT_EQ(found->size, item.size);
  EXPECT_EQ(found->createdAt, item.createdAt);
  EXPECT_EQ(found->modifiedAt, item.modifiedAt);
  EXPECT_EQ(found->lastUsedAt, item.lastUsedAt);
  EXPECT_EQ(found->favoriteRank, item.favoriteRank);
  EXPECT_EQ(found->contentType, item.contentType);
  EXPECT_EQ(found->tags, item.tags);
  EXPECT_EQ(found->executable, item.executable);
  EXPECT_EQ(found->state, item.state);
  EXPECT_EQ(found->stamp, item.stamp);
  EXPECT_EQ(found->localHash, item.localHash);
  EXPECT_EQ(found->uploaded, item.uploaded);
  EXPECT_EQ(found->seq, item.seq);
}

TEST(ItemStore, CountsChildrenAndSaysThatTheFolderChanged) {
  ScratchStore store;
  StoredItem from = store.add(store.root.id, "from", ItemKind::Folder);
  StoredItem to = store.add(store.root.id, "to", ItemKind::Folder);
  StoredItem item = store.add(from.id, "item");
  EXPECT_EQ(store->reader()->find(from.id)->children, 1u);
  EXPECT_GT(store->reader()->find(from.id)->seq, item.seq);
  item.parent = to.id;
  store.update(item);
  EXPECT_EQ(store->reader()->find(from.id)->children, 0u);
  EXPECT_EQ(store->reader()->find(to.id)->children, 1u);
  store.remove(item);
  EXPECT_EQ(store->reader()->find(to.id)->children, 0u);
  EXPECT_EQ(store->reader()->find(store.root.id)->children, 2u);
}

TEST(ItemStore, NeverGivesARowToAnotherItem) {
  ScratchStore store;
  StoredItem first = store.add(store.root.id, "a");
  store.remove(first);
  store.reopen();
  EXPECT_GT(store.add(store.root.id, "a").id, first.id);
}

TEST(ItemStore, FindsItemsByPathAndByPromise) {
  ScratchStore store;
  StoredItem folder = store.add(store.root.id, "folder", ItemKind::Folder);
  StoredItem item = store.add(folder.id, "Item");
  auto reader = store->reader();
  EXPECT_EQ(reader->path(item.id), "folder/Item");
  EXPECT_EQ(reader->path(store.root.id), "");
  EXPECT_EQ(reader->itemAt("folder/Item")->id, item.id);
  EXPECT_EQ(reader->itemAt("folder//Item/")->id, item.id);
  EXPECT_EQ(reader->itemAt("")->id, store.root.id);
  EXPECT_FALSE(reader->itemAt("folder/item"));
  EXPECT_FALSE(reader->itemAt("folder/Item/x"));
  EXPECT_EQ(reader->itemAt("folder/" + promiseName(item.uuid))->id, item.id);
  EXPECT_FALSE(reader->itemAt(promiseName(item.uuid)));
}

TEST(ItemStore, AnExceptionUndoesAWholeWrite) {
  ScratchStore store;
  std::int64_t before = store->sequence();
  EXPECT_THROW(store->write([&store](StoreWriter& writer) {
    StoredItem item = ScratchStore::item(store.root.id, "a");
    writer.insert(item);
    throw std::runtime_error("no");
  }),
               std::runtime_error);
  EXPECT_EQ(store->sequence(), before);
  EXPECT_FALSE(store->reader()->itemAt("a"));
}

TEST(ItemStore, ChangesWrittenTogetherFailAlone) {
  ScratchStore store;
  constexpr int kThreads = 8;
  std::latch start(kThreads);
  std::atomic<int> failed = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&store, &start, &failed, thread] {
      start.arrive_and_wait();
      for (int index = 0; index < 20; ++index) {
        try {
          store->writeTogether([&store, thread, index](StoreWriter& writer) {
            StoredItem item = ScratchStore::item(
                store.root.id, std::to_string(thread) + "-" + std::to_string(index));
            writer.insert(item);
            if (index % 4 == 3) throw std::runtime_error("no");
          });
        } catch (const std::runtime_error&) {
          ++failed;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failed, kThreads * 5);
  EXPECT_EQ(store->reader()->find(store.root.id)->children, kThreads * 15u);
  EXPECT_EQ(store->reader()->totals().documents, kThreads * 15u);
}

TEST(ItemStore, RunsActionsAfterTheCommitOnly) {
  ScratchStore store;
  int ran = 0;
  store->write([&ran](StoreWriter& writer) {
    writer.afterCommit([&ran] { ++ran; });
    EXPECT_EQ(ran, 0);
  });
  EXPECT_EQ(ran, 1);
  EXPECT_THROW(store->write([&ran](StoreWriter& writer) {
    writer.afterCommit([&ran] { ++ran; });
    throw std::runtime_error("no");
  }),
               std::runtime_error);
  EXPECT_EQ(ran, 1);
}

TEST(ItemStore, RefusesANewerFormatAndLeavesItAlone) {
  ScratchStore store;
  store.close();
  {
    Database database(store.file());
    database.setUserVersion(99);
    database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
  }
  std::string before = bytesOf(store.file());
  try {
    ItemStore again(store.file());
    ADD_FAILURE();
  } catch (const SkiffError& error) {
    EXPECT_EQ(error.code(), SkiffError::Code::NewerVersion);
  }
  EXPECT_EQ(bytesOf(store.file()), before);
}

TEST(ItemStore, RefusesAFileThatIsNotAStore) {
  ScratchStore store;
  store.close();
  std::filesystem::remove(store.file().string() + "-wal");
  std::ofstream(store.file()) << "not a database, whatever its name says, and long enough "
                              << std::string(4096, 'x');
  EXPECT_THROW(ItemStore again(store.file()), SqliteError);
}

TEST(ItemStore, CountsWhatIsPresent) {
  ScratchStore store;
  store.add(store.root.id, "folder", ItemKind::Folder);
  StoredItem item = store.add(store.root.id, "item");
  item.size = 5;
  item.state = ContentState::Local;
  store.update(item);
  store.add(store.root.id, "other");
  ItemTable::Totals totals = store->reader()->totals();
  EXPECT_EQ(totals.folders, 1u);
  EXPECT_EQ(totals.documents, 2u);
  EXPECT_EQ(totals.present, 1u);
  EXPECT_EQ(totals.presentBytes, 5u);
}

TEST(ItemStore, FindsWhatACrashMayHaveLeftHalfDone) {
  ScratchStore store;
  StoredItem hydrating = store.add(store.root.id, "hydrating");
  hydrating.state = ContentState::Hydrating;
  store.update(hydrating);
  StoredItem old = store.add(store.root.id, "old content to remove");
  old.stamp = FileStamp{1, 2, 3, 4};
  store.update(old);
  store.add(store.root.id, "settled");
  EXPECT_EQ(store->reader()->unsettled(), (std::vector<std::int64_t>{old.id, hydrating.id}));
}

}  // namespace
}  // namespace tessera
