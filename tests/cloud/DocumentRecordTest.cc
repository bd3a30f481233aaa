#include "cloud/DocumentRecord.h"

#include <gtest/gtest.h>

#include <string>

#include "ScratchCloud.h"

namespace tessera {
namespace {

DocumentRecord fullDocument() {
  DocumentRecord document;
  document.id = idOf("7f0e");
  document.changeTag = "12";
  document.version = 3;
  document.parent = kDocumentsFolderRecord;
  document.name = "Report \xe2\x82\xac.odt";
  document.content = Asset{std::string(64, 'a'), 17};
  document.createdAt = -5;
  document.modifiedAt = 1'700'000'000'123'456'789;
  document.executable = true;
  document.contentType = "text/plain";
  document.tags = {"red", "work"};
  document.lastUsedAt = 9;
  document.favoriteRank = 0;
  return document;
}

void expectSame(const DocumentRecord& a, const DocumentRecord& b) {
  EXPECT_EQ(a.id, b.id);
  EXPECT_EQ(a.changeTag, b.changeTag);
  EXPECT_EQ(a.version, b.version);
  EXPECT_EQ(a.kind, b.kind);
  EXPECT_EQ(a.parent, b.parent);
  EXPECT_EQ(a.name, b.name);
  EXPECT_EQ(a.content, b.content);
  EXPECT_EQ(a.createdAt, b.createdAt);
  EXPECT_EQ(a.modifiedAt, b.modifiedAt);
  EXPECT_EQ(a.executable, b.executable);
  EXPECT_EQ(a.contentType, b.contentType);
  EXPECT_EQ(a.target, b.target);
  EXPECT_EQ(a.tags, b.tags);
  EXPECT_EQ(a.lastUsedAt, b.lastUsedAt);
  EXPECT_EQ(a.favoriteRank, b.favoriteRank);
}

TEST(DocumentRecord, ComesBackFromARecordAsItWas) {
  expectSame(DocumentRecord::fromRecord(fullDocument().toRecord()), fullDocument());

  DocumentRecord folder;
  folder.id = idOf("f");
  folder.kind = DocumentKind::Folder;
  folder.parent = "p";
  folder.name = "Folder";
  expectSame(DocumentRecord::fromRecord(folder.toRecord()), folder);

  DocumentRecord reference = folder;
  reference.kind = DocumentKind::Reference;
  reference.target = RecordID{ZoneID{"bob", "com.example.notes"}, "elsewhere"};
  expectSame(DocumentRecord::fromRecord(reference.toRecord()), reference);
}

TEST(DocumentRecord, ComesBackFromTheCloudAsItWas) {
  ScratchCloud cloud;
  DocumentRecord document = fullDocument();
  document.changeTag.clear();
  document.content = cloud.assets->put(bytesOf("content"));
  cloud.assets->commit({*document.content});
  auto saved = cloud.database->modify({document.toRecord()}, {}, SavePolicy::IfUnchanged);
  document.changeTag = saved.at(0).changeTag;
  document.version = 1;
  auto read = cloud.database->record(document.id);
  ASSERT_TRUE(read);
  expectSame(DocumentRecord::fromRecord(*read), document);
}

TEST(DocumentRecord, IsRefusedWhenTheRecordIsSomethingElse) {
  auto codeFor = [](auto change) {
    Record record = fullDocument().toRecord();
    change(record);
    return codeThrownBy([&record] { (void)DocumentRecord::fromRecord(record); });
  };
  using Code = CloudError::Code;
  EXPECT_EQ(codeFor([](Record&) {}), std::nullopt);
  EXPECT_EQ(codeFor([](Record& record) { record.type = "song"; }), Code::Corrupt);
  EXPECT_EQ(codeFor([](Record& record) { record.fields.erase("parent"); }), Code::Corrupt);
  EXPECT_EQ(codeFor([](Record& record) { record.fields["name"] = 1.5; }), Code::Corrupt);
  EXPECT_EQ(codeFor([](Record& record) { record.fields["name"] = "../../passwd"; }), Code::Corrupt);
  EXPECT_EQ(codeFor([](Record& record) {
              record.fields["target"] = std::vector<std::string>{"a", "b"};
            }),
            Code::Corrupt);
}

TEST(DocumentRecord, WithABadNameIsNotMadeIntoARecord) {
  DocumentRecord document = fullDocument();
  document.name = "..";
  EXPECT_EQ(codeThrownBy([&document] { (void)document.toRecord(); }),
            CloudError::Code::InvalidArgument);
}

TEST(ItemName, MayBeAnyOneComponentOfAPath) {
  for (const std::string& name :
       {std::string("a"), std::string("..."), std::string(".hidden"), std::string("tab\tand\nline"),
        std::string("back\\slash"), std::string("\xf0\x9f\x93\x84"), std::string(255, 'n'),
        std::string(".tessera"), std::string("x.tessera-1")}) {
    EXPECT_EQ(whyNotAnItemName(name), std::nullopt) << name;
  }
}

TEST(ItemName, MayNotBeWhatNoFileOrNoOtherDeviceCouldHave) {
  for (const std::string& name :
       {std::string(), std::string("."), std::string(".."), std::string("a/b"), std::string("/"),
        std::string("a\0b", 3), std::string(256, 'n'), std::string("caf\xe9"),
        std::string(".tessera-promise")}) {
    auto why = whyNotAnItemName(name);
    ASSERT_TRUE(why) << name;
    EXPECT_FALSE(why->empty());
  }
}

}  // namespace
}  // namespace tessera
