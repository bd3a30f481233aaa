#include "platform/tessera/GVQueryItem.h"

#include <gtest/gtest.h>

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "tests/support/extension/Described.h"
#include "tests/support/tessera/FakeClientLibrary.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

TEST(GVQueryItem, IsNamedByItsFileObjectIdentifier) {
  EXPECT_EQ(sampleID(1).asString(), sampleItem(1)->itemIdentifier());
}

TEST(GVQueryItem, IsTheRootByItsReservedIdentifierAndItsOwnParent) {
  GVItemFields fields(sampleID(1));
  fields.isRoot = true;
  const GVQueryItem root(fields);
  EXPECT_EQ(NSFileProviderRootContainerItemIdentifier, root.itemIdentifier());
  EXPECT_EQ(NSFileProviderRootContainerItemIdentifier, root.parentItemIdentifier());
  EXPECT_EQ(sampleID(1), root.fileObjectID());
}

TEST(GVQueryItem, HasAParentOrTheRoot) {
  GVItemFields fields(sampleID(1));
  EXPECT_EQ(NSFileProviderRootContainerItemIdentifier, GVQueryItem(fields).parentItemIdentifier());
  fields.parentFileObjectID = sampleID(2);
  EXPECT_EQ(sampleID(2).asString(), GVQueryItem(fields).parentItemIdentifier());
  fields.parentIsRoot = true;
  EXPECT_EQ(NSFileProviderRootContainerItemIdentifier, GVQueryItem(fields).parentItemIdentifier());
}

TEST(GVQueryItem, AnswersThePlatformFromItsFields) {
  GVItemFields fields(sampleID(1));
  fields.isFolder = true;
  fields.isDownloaded = true;
  fields.isShared = true;
  fields.filename = "name";
  fields.contentType = "text/plain";
  fields.documentSize = 7;
  fields.childItemCount = 3;
  fields.favoriteRank = -1;
  fields.tagNames = {"red"};
  fields.versionIdentifier = "v1";
  fields.creationDate = NSDate(std::chrono::seconds(1));
  fields.contentModificationDate = NSDate(std::chrono::seconds(2));
  fields.lastUsedDate = NSDate(std::chrono::seconds(3));
  const NSFileProviderItemPtr item = std::make_shared<GVQueryItem>(fields);
  EXPECT_EQ("name", item->filename());
  EXPECT_EQ("text/plain", item->contentType());
  EXPECT_EQ(7U, item->documentSize());
  EXPECT_EQ(3U, item->childItemCount());
  EXPECT_EQ(-1, item->favoriteRank());
  EXPECT_EQ((std::vector<std::string>{"red"}), item->tagNames());
  EXPECT_EQ("v1", item->versionIdentifier());
  EXPECT_EQ(NSDate(std::chrono::seconds(1)), item->creationDate());
  EXPECT_EQ(NSDate(std::chrono::seconds(2)), item->contentModificationDate());
  EXPECT_EQ(NSDate(std::chrono::seconds(3)), item->lastUsedDate());
  EXPECT_TRUE(item->isDownloaded());
  EXPECT_FALSE(item->isMostRecentVersionDownloaded());
  EXPECT_TRUE(item->isUploaded());
  EXPECT_FALSE(item->isTrashed());
  EXPECT_TRUE(item->isShared());
}

TEST(GVQueryItem, PrintsWhatItIs) {
  const std::string identifier = sampleID(1).asString();
  EXPECT_EQ("<GVQueryItem " + identifier + " dead>", described(sampleDeadItem(1)));
  EXPECT_EQ("<GVQueryItem " + identifier + " document 'a'>", described(sampleItem(1, "a")));
  GVItemFields fields(sampleID(1));
  fields.filename = "a";
  fields.documentSize = 12;
  EXPECT_EQ("<GVQueryItem " + identifier + " document 'a' 12 bytes>",
            described(std::make_shared<GVQueryItem>(fields)));
}

TEST(GVQueryItem, IsNotAskedForAContainerThatThereIsNot) {
  const auto calls = std::make_shared<CallRecorder>();
  const FakeClientLibrary library(calls);
  EXPECT_EQ(nullptr, GVQueryItem::containerItemForContainer(nullptr, true));
  EXPECT_TRUE(calls->calls().empty());
}

}  // namespace
}  // namespace tessera
