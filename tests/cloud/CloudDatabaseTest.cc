#include "cloud/CloudDatabase.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ScratchCloud.h"

namespace tessera {
namespace {

using Names = std::vector<std::string>;

TEST(CloudDatabase, GivesBackWhatWasSaved) {
  ScratchCloud cloud;
  Record record = recordNamed("one");
  record.fields["number"] = std::int64_t{7};
  auto saved = cloud.database->modify({record}, {}, SavePolicy::IfUnchanged);
  ASSERT_EQ(saved.size(), 1u);
  EXPECT_EQ(saved[0].version, 1u);
  EXPECT_FALSE(saved[0].changeTag.empty());
  EXPECT_GT(saved[0].modifiedAt, 0);

  auto read = cloud.database->record(idOf("one"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->id, record.id);
  EXPECT_EQ(read->type, "note");
  EXPECT_EQ(read->fields, record.fields);
  EXPECT_EQ(read->changeTag, saved[0].changeTag);
  EXPECT_EQ(read->version, 1u);
  EXPECT_EQ(read->modifiedAt, saved[0].modifiedAt);
}

TEST(CloudDatabase, KeepsRecordsOverAReopening) {
  ScratchCloud cloud;
  cloud.database->modify({recordNamed("one", "kept")}, {}, SavePolicy::IfUnchanged);
  auto again = openCloudService(cloud.folder.cloud(), OpenCloud::Existing);
  auto read = again->privateDatabase("ann")->record(idOf("one"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->fields["text"], FieldValue("kept"));
}

TEST(CloudDatabase, GivesEachSaveANewTagAndTheNextVersion) {
  ScratchCloud cloud;
  std::set<std::string> tags;
  Record record = recordNamed("one");
  for (std::uint64_t version = 1; version <= 5; ++version) {
    record = cloud.database->modify({record}, {}, SavePolicy::IfUnchanged).at(0);
    EXPECT_EQ(record.version, version);
    EXPECT_TRUE(tags.insert(record.changeTag).second);
  }
}

TEST(CloudDatabase, ReadsManyInTheOrderAskedForWithoutTheMissing) {
  ScratchCloud cloud;
  cloud.database->modify({recordNamed("a"), recordNamed("b"), recordNamed("c")}, {},
                         SavePolicy::IfUnchanged);
  auto read = cloud.database->records({idOf("c"), idOf("missing"), idOf("a")});
  EXPECT_EQ(namesOf(read), (Names{"c", "a"}));
}

TEST(CloudDatabase, MakesZonesWithTheirFirstRecord) {
  ScratchCloud cloud;
  EXPECT_TRUE(cloud.database->zones().empty());
  Record record = recordNamed("same name");
  Record desktop = record;
  desktop.id.zone.container = kDesktopContainer;
  desktop.fields["text"] = "on the desktop";
  cloud.database->modify({record, desktop}, {}, SavePolicy::IfUnchanged);
  EXPECT_EQ(cloud.database->zones(),
            (std::vector<ZoneID>{{"ann", kDefaultContainer}, {"ann", kDesktopContainer}}));
  EXPECT_EQ(cloud.database->record(desktop.id)->fields["text"], FieldValue("on the desktop"));
  EXPECT_EQ(cloud.database->record(record.id)->fields["text"], FieldValue("text"));
}

TEST(CloudDatabase, RefusesARecordOfAContainerThatIsNotThere) {
  ScratchCloud cloud;
  Record record = recordNamed("one");
  record.id.zone.container = "com.example.unknown";
  EXPECT_EQ(codeThrownBy([&] { cloud.database->modify({record}, {}, SavePolicy::Overwrite); }),
            CloudError::Code::NoSuchContainer);
  EXPECT_TRUE(cloud.database->zones().empty());
}

// What becomes of a save, by what is stored and which tag the record carries.
TEST(CloudDatabase, ComparesTagsAsThePolicySays) {
  enum class Is { Absent, Present, Deleted };
  enum class Tag { None, Current, Old };
  struct Case {
    const char* what;
    Is is;
    Tag tag;
    SavePolicy policy;
    bool taken;
  };
  const std::vector<Case> cases{
      {"new", Is::Absent, Tag::None, SavePolicy::IfUnchanged, true},
      {"never there, with a tag", Is::Absent, Tag::Old, SavePolicy::IfUnchanged, false},
      {"exists already", Is::Present, Tag::None, SavePolicy::IfUnchanged, false},
      {"unchanged", Is::Present, Tag::Current, SavePolicy::IfUnchanged, true},
      {"changed meanwhile", Is::Present, Tag::Old, SavePolicy::IfUnchanged, false},
      {"deleted meanwhile", Is::Deleted, Tag::Current, SavePolicy::IfUnchanged, false},
      {"new after a deletion", Is::Deleted, Tag::None, SavePolicy::IfUnchanged, true},
      {"new, forced", Is::Absent, Tag::Old, SavePolicy::Overwrite, true},
      {"exists, forced", Is::Present, Tag::None, SavePolicy::Overwrite, true},
      {"changed, forced", Is::Present, Tag::Old, SavePolicy::Overwrite, true},
      {"deleted, forced", Is::Deleted, Tag::Current, SavePolicy::Overwrite, true},
  };
  for (const auto& [what, is, tag, policy, taken] : cases) {
    ScratchCloud cloud;
    std::string old = "1";
    std::string current;
    if (is != Is::Absent) {
      Record first = cloud.database->modify({recordNamed("x")}, {}, SavePolicy::Overwrite).at(0);
      old = first.changeTag;
      current = cloud.database->modify({first}, {}, SavePolicy::IfUnchanged).at(0).changeTag;
    }
    if (is == Is::Deleted) cloud.database->modify({}, {idOf("x")}, SavePolicy::IfUnchanged);
    Record save = recordNamed("x", "saved");
    save.changeTag = tag == Tag::None ? "" : tag == Tag::Current ? current : old;
    auto code = codeThrownBy(
        [&cloud, &save, policy = policy] { cloud.database->modify({save}, {}, policy); });
    auto read = cloud.database->record(idOf("x"));
    bool there = read && read->fields["text"] == FieldValue("saved");
    EXPECT_EQ(code, taken ? std::nullopt : std::optional(CloudError::Code::RecordChanged)) << what;
    EXPECT_EQ(there, taken) << what;
  }
}

TEST(CloudDatabase, SavesNothingOfABatchWhenOneIsRefused) {
  ScratchCloud cloud;
  cloud.database->modify({recordNamed("old"), recordNamed("kept")}, {}, SavePolicy::IfUnchanged);
  auto token = cloud.database->changes("", 10).token;
  EXPECT_EQ(codeThrownBy([&cloud] {
              cloud.database->modify({recordNamed("new"), recordNamed("old")}, {idOf("kept")},
                                     SavePolicy::IfUnchanged);
            }),
            CloudError::Code::RecordChanged);
  EXPECT_FALSE(cloud.database->record(idOf("new")));
  EXPECT_TRUE(cloud.database->record(idOf("kept")));
  auto page = cloud.database->changes(token, 10);
  EXPECT_TRUE(page.changed.empty());
  EXPECT_TRUE(page.deleted.empty());
}

TEST(CloudDatabase, DeletesAndDoesNothingWhereThereIsNothingToDelete) {
  ScratchCloud cloud;
  cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged);
  cloud.database->modify({}, {idOf("one")}, SavePolicy::IfUnchanged);
  EXPECT_FALSE(cloud.database->record(idOf("one")));
  auto token = cloud.database->changes("", 10).token;
  cloud.database->modify({}, {idOf("one"), idOf("never"), idOf("x", kDesktopContainer)},
                         SavePolicy::IfUnchanged);
  EXPECT_TRUE(cloud.database->changes(token, 10).deleted.empty());
}

TEST(CloudDatabase, GoesOnCountingVersionsOfARecordThatCameBack) {
  ScratchCloud cloud;
  auto first = cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged).at(0);
  cloud.database->modify({}, {idOf("one")}, SavePolicy::IfUnchanged);
  auto second = cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged).at(0);
  EXPECT_GT(second.version, first.version);
  EXPECT_NE(second.changeTag, first.changeTag);
}

TEST(CloudDatabase, RefusesWhatIsNamedTwiceOrHasNoName) {
  ScratchCloud cloud;
  auto codeFor = [&cloud](const std::vector<Record>& saves,
                          const std::vector<RecordID>& deletions) {
    return codeThrownBy([&] { cloud.database->modify(saves, deletions, SavePolicy::Overwrite); });
  };
  Record untyped = recordNamed("x");
  untyped.type.clear();
  EXPECT_EQ(codeFor({recordNamed("x"), recordNamed("x")}, {}), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeFor({recordNamed("x")}, {idOf("x")}), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeFor({recordNamed("")}, {}), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeFor({recordNamed("\xff")}, {}), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeFor({recordNamed(std::string(256, 'x'))}, {}), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeFor({untyped}, {}), CloudError::Code::InvalidArgument);
  EXPECT_FALSE(cloud.database->record(idOf("x")));
}

TEST(CloudDatabase, RefusesAssetsThatAreNotCommitted) {
  ScratchCloud cloud;
  Record record = recordNamed("one");
  auto codeFor = [&](const Asset& asset) {
    record.fields["content"] = asset;
    return codeThrownBy([&] { cloud.database->modify({record}, {}, SavePolicy::Overwrite); });
  };
  Asset asset = cloud.assets->put(bytesOf("content"));
  EXPECT_EQ(codeFor(asset), CloudError::Code::NoSuchAsset);
  EXPECT_EQ(codeFor(Asset{"../../etc/passwd", 1}), CloudError::Code::NoSuchAsset);
  cloud.assets->commit({asset});
  EXPECT_EQ(codeFor(Asset{asset.sha256, asset.size + 1}), CloudError::Code::NoSuchAsset);
  EXPECT_FALSE(cloud.database->record(idOf("one")));
  EXPECT_EQ(codeFor(asset), std::nullopt);
  EXPECT_EQ(cloud.database->record(idOf("one"))->fields["content"], FieldValue(asset));
}

TEST(CloudDatabase, IsUsedByManyThreadsAtOnce) {
  ScratchCloud cloud;
  constexpr int kThreads = 4;
  constexpr int kEach = 25;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&cloud, thread] {
        for (int index = 0; index < kEach; ++index) {
          std::string name = std::to_string(thread) + "-" + std::to_string(index);
          cloud.database->modify({recordNamed(name)}, {}, SavePolicy::IfUnchanged);
          EXPECT_TRUE(cloud.database->record(idOf(name)));
        }
      });
    }
  }
  EXPECT_EQ(cloud.database->changes("", 1000).changed.size(), std::size_t{kThreads * kEach});
}

TEST(CloudDatabase, OutlivesTheServiceItCameFrom) {
  ScratchCloud cloud;
  cloud.service.reset();
  cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged);
  EXPECT_TRUE(cloud.database->record(idOf("one")));
}

}  // namespace
}  // namespace tessera
