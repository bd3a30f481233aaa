#include "linux/ItemCodec.h"

#include <string>

#include <capnp/message.h>
#include <gtest/gtest.h>

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/tessera/GVLog.h"
#include "protocol/skiff.capnp.h"
#include "tests/support/log/CapturingLog.h"

namespace tessera {
namespace {

constexpr const char* kItem = "01234567-89ab-cdef-0123-456789abcdef";
constexpr const char* kParent = "11111111-2222-3333-4444-555555555555";

class WireItem {
 public:
  WireItem() : item(_message.initRoot<wire::Item>()) {
    item.setFileObjectId(kItem);
    item.setParentFileObjectId(kParent);
    item.setFilename("Bericht.txt");
    item.setContentType("text/plain");
    item.setVersionIdentifier("v7");
    item.setDocumentSize(1234);
    item.setCreated(1'000'000'001);
    item.setModified(-5);
    item.initTags(2).set(0, "rot");
    item.getTags().set(1, "blau");
    item.setIsDownloaded(true);
    item.setIsCurrent(true);
    item.setIsUploaded(true);
  }

 private:
  capnp::MallocMessageBuilder _message;

 public:
  wire::Item::Builder item;
};

NSDate at(std::int64_t nanoseconds) {
  return NSDate(std::chrono::nanoseconds(nanoseconds));
}

TEST(ItemCodec, ReadsADocument) {
  WireItem wire;
  wire.item.setHasLastUsed(true);
  wire.item.setLastUsed(77);
  wire.item.setHasFavoriteRank(true);
  wire.item.setFavoriteRank(-3);
  wire.item.setIsShared(true);
  const auto item = decodeItem(wire.item);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->itemIdentifier(), kItem);
  EXPECT_EQ(item->parentItemIdentifier(), kParent);
  EXPECT_EQ(item->filename(), "Bericht.txt");
  EXPECT_EQ(item->contentType(), "text/plain");
  EXPECT_EQ(item->versionIdentifier(), "v7");
  EXPECT_EQ(item->documentSize(), 1234U);
  EXPECT_EQ(item->childItemCount(), std::nullopt);
  EXPECT_EQ(item->creationDate(), at(1'000'000'001));
  EXPECT_EQ(item->contentModificationDate(), at(-5));
  EXPECT_EQ(item->lastUsedDate(), at(77));
  EXPECT_EQ(item->favoriteRank(), -3);
  EXPECT_EQ(item->tagNames(), (std::vector<std::string>{"rot", "blau"}));
  EXPECT_TRUE(item->isDownloaded());
  EXPECT_TRUE(item->isMostRecentVersionDownloaded());
  EXPECT_TRUE(item->isUploaded());
  EXPECT_TRUE(item->isShared());
  EXPECT_FALSE(item->isTrashed());
  EXPECT_FALSE(item->isFolder());
}

TEST(ItemCodec, ReadsAFolderBelowTheRootAndTheRoot) {
  WireItem wire;
  wire.item.setIsFolder(true);
  wire.item.setParentIsRoot(true);
  wire.item.setChildItemCount(9);
  const auto folder = decodeItem(wire.item);
  EXPECT_EQ(folder->childItemCount(), 9U);
  EXPECT_EQ(folder->documentSize(), std::nullopt);
  EXPECT_EQ(folder->lastUsedDate(), std::nullopt);
  EXPECT_EQ(folder->favoriteRank(), std::nullopt);
  EXPECT_EQ(folder->parentItemIdentifier(), NSFileProviderRootContainerItemIdentifier);

  wire.item.setIsRoot(true);
  wire.item.setFilename("");
  wire.item.setParentFileObjectId("");
  const auto root = decodeItem(wire.item);
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->itemIdentifier(), NSFileProviderRootContainerItemIdentifier);
}

TEST(ItemCodec, ReadsADeadItemByItsIdentifierAlone) {
  capnp::MallocMessageBuilder message;
  auto wire = message.initRoot<wire::Item>();
  wire.setFileObjectId(kItem);
  wire.setIsDead(true);
  const auto item = decodeItem(wire);
  ASSERT_NE(item, nullptr);
  EXPECT_TRUE(item->isDead());
  EXPECT_EQ(item->fileObjectID().asString(), kItem);
}

TEST(ItemCodec, LeavesOutWhatIsNoIdentifierWithAnErrorLine) {
  for (const char* identifier : {"", "x", "01234567-89AB-cdef-0123-456789abcdef",
                                 NSFileProviderRootContainerItemIdentifier}) {
    CapturingLogBackend log(gvc_default_log());
    WireItem wire;
    wire.item.setFileObjectId(identifier);
    EXPECT_EQ(decodeItem(wire.item), nullptr) << identifier;
    EXPECT_EQ(log.texts(LogType::Error),
              std::vector<std::string>{
                  "[ERROR] the daemon sent a record with an invalid identifier; left out: " +
                  std::string(identifier) + " 'Bericht.txt'"});
  }
}

TEST(ItemCodec, LeavesOutWhatIsNoNameOrNoParent) {
  const std::string withNul("a\0b", 3);
  for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                  std::string("a/b"), std::string("/etc/passwd"), withNul}) {
    WireItem wire;
    wire.item.setFilename(capnp::Text::Reader(name.data(), name.size()));
    EXPECT_EQ(decodeItem(wire.item), nullptr) << name;
  }
  WireItem wire;
  wire.item.setParentFileObjectId("nonsense");
  EXPECT_EQ(decodeItem(wire.item), nullptr);
}

TEST(ItemCodec, KeepsTheGoodItemsOfAListInTheirOrder) {
  capnp::MallocMessageBuilder message;
  auto list = message.initRoot<wire::Skiff::EnumerateItemsInFolderResults>().initItems(3);
  for (unsigned i = 0; i < 3; ++i) {
    list[i].setFileObjectId(i == 1 ? "broken" : kItem);
    list[i].setFilename(std::to_string(i));
  }
  const auto items = decodeItems(list);
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0]->filename(), "0");
  EXPECT_EQ(items[1]->filename(), "2");
}

TEST(ItemCodec, ReadsNoMoreOfAListThanAnyoneAsksFor) {
  CapturingLogBackend log(gvc_default_log());
  capnp::MallocMessageBuilder message;
  auto list = message.initRoot<wire::Skiff::EnumerateWorkingSetChangesResults>().initDeletions(
      kMaxWireItems + 5);
  for (unsigned i = 0; i < list.size(); ++i) list.set(i, kItem);
  EXPECT_EQ(decodeIdentifiers(list.asReader()).size(), kMaxWireItems);
  EXPECT_EQ(log.texts(LogType::Error),
            std::vector<std::string>{
                "[ERROR] the daemon sent a list of 10005 entries; read the first 10000"});
}

TEST(ItemCodec, LeavesOutInvalidIdentifiersOfAList) {
  capnp::MallocMessageBuilder message;
  auto list = message.initRoot<wire::Skiff::EnumerateWorkingSetChangesResults>().initDeletions(2);
  list.set(0, "no");
  list.set(1, kItem);
  const auto identifiers = decodeIdentifiers(list.asReader());
  ASSERT_EQ(identifiers.size(), 1U);
  EXPECT_EQ(identifiers[0].asString(), kItem);
}

TEST(ItemCodec, WritesAnItemForTheHost) {
  WireItem wire;
  wire.item.setHasLastUsed(true);
  wire.item.setLastUsed(88);
  const auto item = decodeItem(wire.item);
  capnp::MallocMessageBuilder message;
  const auto out = message.initRoot<wire::ProviderItem>();
  encodeProviderItem(*item, out);
  const auto read = out.asReader();
  EXPECT_STREQ(read.getIdentifier().cStr(), kItem);
  EXPECT_STREQ(read.getParentIdentifier().cStr(), kParent);
  EXPECT_STREQ(read.getFilename().cStr(), "Bericht.txt");
  EXPECT_STREQ(read.getContentType().cStr(), "text/plain");
  EXPECT_STREQ(read.getVersionIdentifier().cStr(), "v7");
  EXPECT_TRUE(read.getHasDocumentSize());
  EXPECT_EQ(read.getDocumentSize(), 1234U);
  EXPECT_FALSE(read.getHasChildItemCount());
  EXPECT_TRUE(read.getHasCreated());
  EXPECT_EQ(read.getCreated(), 1'000'000'001);
  EXPECT_EQ(read.getModified(), -5);
  EXPECT_EQ(read.getLastUsed(), 88);
  EXPECT_FALSE(read.getHasFavoriteRank());
  ASSERT_EQ(read.getTags().size(), 2U);
  EXPECT_STREQ(read.getTags()[1].cStr(), "blau");
  EXPECT_TRUE(read.getIsDownloaded());
  EXPECT_TRUE(read.getIsCurrent());
  EXPECT_TRUE(read.getIsUploaded());
  EXPECT_FALSE(read.getIsTrashed());
}

}  // namespace
}  // namespace tessera
