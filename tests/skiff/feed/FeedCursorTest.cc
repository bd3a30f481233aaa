#include "skiff/feed/FeedCursor.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "skiff/store/SkiffError.h"
#include "tests/skiff/support/Device.h"

namespace tessera {
namespace {

using Paths = std::set<std::string>;

TEST(FeedCursor, MakesFoldersAndPromises) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  DocumentRecord document = cloud.save(cloud.documentRecord("document", "text", folder.id.name));
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"folder/", "folder/document~"}));
  EXPECT_EQ(device.onDisk(), device.items());
  auto item = device.item(document);
  EXPECT_EQ(item->size, 4u);
  EXPECT_EQ(item->modifiedAt, document.modifiedAt);
  EXPECT_EQ(device.item(folder)->children, 1u);
  EXPECT_FALSE(device.cursor->token().empty());
}

TEST(FeedCursor, ChildrenMayComeBeforeTheirFolderInAPage) {
  SharedCloud cloud;
  DocumentRecord outer = SharedCloud::folderRecord("outer");
  DocumentRecord inner = SharedCloud::folderRecord("inner", outer.id.name);
  DocumentRecord document = cloud.documentRecord("document", "x", inner.id.name);
  cloud.saveAll({document, inner, outer});
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"outer/", "outer/inner/", "outer/inner/document~"}));
  EXPECT_EQ(device.onDisk(), device.items());
}

TEST(FeedCursor, ParksWhatHasNoFolderYetAcrossPages) {
  SharedCloud cloud;
  DocumentRecord outer = SharedCloud::folderRecord("outer");
  DocumentRecord inner = SharedCloud::folderRecord("inner", outer.id.name);
  DocumentRecord document = cloud.documentRecord("document", "x", inner.id.name);
  cloud.saveAll({document});
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.items(), Paths{});
  EXPECT_EQ(device.store->reader()->parkedCount(), 1);
  cloud.saveAll({inner});
  device.catchUp();
  device.open();
  EXPECT_EQ(device.items(), Paths{});
  cloud.saveAll({outer});
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"outer/", "outer/inner/", "outer/inner/document~"}));
  EXPECT_EQ(device.onDisk(), device.items());
  EXPECT_EQ(device.store->reader()->parkedCount(), 0);
}

TEST(FeedCursor, MovesAndRenamesWhatIsThere) {
  SharedCloud cloud;
  DocumentRecord from = cloud.save(SharedCloud::folderRecord("from"));
  DocumentRecord to = cloud.save(SharedCloud::folderRecord("to"));
  DocumentRecord present = cloud.save(cloud.documentRecord("present", "p", from.id.name));
  DocumentRecord absent = cloud.save(cloud.documentRecord("absent", "a", from.id.name));
  Device device(cloud);
  device.catchUp();
  device.fetch(present);
  present.parent = to.id.name;
  present.name = "renamed";
  absent.parent = to.id.name;
  cloud.saveAll({present, absent});
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"from/", "to/", "to/renamed", "to/absent~"}));
  EXPECT_EQ(device.onDisk(), device.items());
  to.name = "elsewhere";
  to.parent = from.id.name;
  cloud.save(to);
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"from/", "from/elsewhere/", "from/elsewhere/renamed",
                                   "from/elsewhere/absent~"}));
  EXPECT_EQ(device.onDisk(), device.items());
  EXPECT_EQ(device.content("from/elsewhere/renamed"), "p");
}

TEST(FeedCursor, ExchangesNames) {
  SharedCloud cloud;
  DocumentRecord a = cloud.save(cloud.documentRecord("a", "content of a"));
  DocumentRecord b = cloud.save(cloud.documentRecord("b", "content of b"));
  DocumentRecord c = cloud.save(SharedCloud::folderRecord("c"));
  DocumentRecord d = cloud.save(SharedCloud::folderRecord("d"));
  DocumentRecord inC = cloud.save(cloud.documentRecord("in c", "x", c.id.name));
  Device device(cloud);
  device.catchUp();
  device.fetch(a);
  device.fetch(b);
  std::swap(a.name, b.name);
  std::swap(c.name, d.name);
  cloud.saveAll({a, b, c, d});
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"a", "b", "c/", "d/", "d/in c~"}));
  EXPECT_EQ(device.onDisk(), device.items());
  EXPECT_EQ(device.content("a"), "content of b");
  EXPECT_EQ(device.content("b"), "content of a");
}

TEST(FeedCursor, OfEqualNamesTheSmallerIdentifierKeepsItOnEveryDevice) {
  SharedCloud cloud;
  DocumentRecord first = cloud.documentRecord("name.txt", "1");
  DocumentRecord second = cloud.documentRecord("name.txt", "2");
  if (second.id.name < first.id.name) std::swap(first.id, second.id);
  cloud.save(second);
  Device early(cloud, "early");
  early.catchUp();
  early.fetch(second);
  EXPECT_EQ(early.onDisk(), Paths{"name.txt"});
  first = cloud.save(first);
  Device late(cloud, "late");
  late.catchUp();
  early.catchUp();
  EXPECT_EQ(late.item(first)->name, "name.txt");
  EXPECT_EQ(late.item(second)->name, "name (2).txt");
  EXPECT_EQ(early.item(first)->name, "name.txt");
  EXPECT_EQ(early.item(second)->name, "name (2).txt");
  EXPECT_EQ(early.onDisk(), (Paths{"name.txt~", "name (2).txt"}));
  cloud.erase({first});
  early.catchUp();
  EXPECT_EQ(early.onDisk(), Paths{"name.txt"});
  EXPECT_EQ(early.items(), Paths{"name.txt"});
}

TEST(FeedCursor, RemovesWhatWasDeletedButKeepsWhatIsAPersons) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  DocumentRecord kept = cloud.save(SharedCloud::folderRecord("kept"));
  DocumentRecord a = cloud.save(cloud.documentRecord("a", "a", folder.id.name));
  DocumentRecord b = cloud.save(cloud.documentRecord("b", "b", folder.id.name));
  DocumentRecord c = cloud.save(cloud.documentRecord("c", "c", kept.id.name));
  DocumentRecord d = cloud.save(cloud.documentRecord("d", "d", kept.id.name));
  Device device(cloud);
  device.catchUp();
  for (const DocumentRecord& record : {a, c}) device.fetch(record);
  device.write("kept/c", "changed here");
  device.write("kept/unknown", "never seen");
  cloud.erase({folder, kept, a, b, c, d});
  device.catchUp();
  EXPECT_EQ(device.onDisk(), (Paths{"kept/", "kept/c", "kept/unknown"}));
  EXPECT_EQ(device.items(), (Paths{"kept/", "kept/c"}));
  EXPECT_EQ(device.content("kept/c"), "changed here");
  EXPECT_FALSE(device.item(c)->uploaded);
  EXPECT_FALSE(device.item(kept)->uploaded);
  EXPECT_EQ(device.problems.texts().size(), 2u);
}

TEST(FeedCursor, NewContentMakesAnUnchangedDocumentAPlaceholder) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  record.content = cloud.upload("twotwo");
  record = cloud.save(record);
  device.catchUp();
  EXPECT_EQ(device.onDisk(), Paths{"document~"});
  EXPECT_EQ(device.items(), Paths{"document~"});
  EXPECT_EQ(device.item(record)->size, 6u);
  EXPECT_FALSE(device.item(record)->stamp);
  device.fetch(record);
  EXPECT_EQ(device.content("document"), "twotwo");
}

TEST(FeedCursor, NewAttributesReachThePresentFile) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  record.executable = true;
  record.modifiedAt = 1'234'567'890'000'000'000;
  record.tags = {"red"};
  cloud.save(record);
  device.catchUp();
  EXPECT_EQ(device.onDisk(), Paths{"document"});
  auto entry = TreeEntry::at(device.tree->rootFolder(), "document");
  EXPECT_TRUE(entry->executable);
  EXPECT_EQ(entry->stamp.modifiedAt, record.modifiedAt);
  EXPECT_EQ(device.item(record)->stamp, entry->stamp);
  EXPECT_EQ(device.item(record)->tags, record.tags);
}

TEST(FeedCursor, AChangedFileOfAPersonStaysWhateverTheCloudDoes) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  device.write("document", "mine and mine alone");
  record.content = cloud.upload("two");
  record.name = "renamed";
  cloud.save(record);
  device.catchUp();
  EXPECT_EQ(device.onDisk(), Paths{"renamed"});
  EXPECT_EQ(device.content("renamed"), "mine and mine alone");
  EXPECT_FALSE(device.item(record)->uploaded);
  EXPECT_EQ(device.item(record)->size, 19u);
  EXPECT_EQ(device.item(record)->contentHash, record.content->sha256);
}

TEST(FeedCursor, AFolderThatWouldBeInItselfStaysWhereItIs) {
  SharedCloud cloud;
  DocumentRecord outer = cloud.save(SharedCloud::folderRecord("outer"));
  DocumentRecord inner = cloud.save(SharedCloud::folderRecord("inner", outer.id.name));
  Device device(cloud);
  device.catchUp();
  outer.parent = inner.id.name;
  cloud.save(outer);
  device.catchUp();
  EXPECT_EQ(device.items(), (Paths{"outer/", "outer/inner/"}));
  EXPECT_EQ(device.onDisk(), device.items());
}

TEST(FeedCursor, LeavesOutRecordsThatMakeNoSense) {
  SharedCloud cloud;
  Record odd;
  odd.id = {ZoneID{"ann", kDefaultContainer}, "odd"};
  odd.type = "something else";
  cloud.database->modify({odd}, {}, SavePolicy::Overwrite);
  cloud.save(cloud.documentRecord("document", "x"));
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.items(), Paths{"document~"});
  EXPECT_EQ(device.problems.texts().size(), 1u);
}

TEST(FeedCursor, RecordNamesNeedNotBeUuids) {
  SharedCloud cloud;
  DocumentRecord record = cloud.documentRecord("document", "x");
  record.id.name = "any name";
  record = cloud.save(record);
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.items(), Paths{"document~"});
  record.name = "renamed";
  cloud.save(record);
  device.catchUp();
  EXPECT_EQ(device.items(), Paths{"renamed~"});
  cloud.erase({record});
  device.catchUp();
  EXPECT_EQ(device.items(), Paths{});
}

TEST(FeedCursor, ReferencesBecomeLinksOnceTheirTargetIsKnown) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  DocumentRecord target = cloud.documentRecord("target", "x", folder.id.name);
  DocumentRecord link = SharedCloud::folderRecord("link", folder.id.name);
  link.kind = DocumentKind::Reference;
  link.target = target.id;
  cloud.save(link);
  Device device(cloud);
  device.catchUp();
  EXPECT_FALSE(std::filesystem::is_symlink(device.at("folder/link")));
  target = cloud.save(target);
  device.catchUp();
  EXPECT_EQ(std::filesystem::read_symlink(device.at("folder/link")), "target");
  target.parent = kDocumentsFolderRecord;
  target.name = "moved";
  cloud.save(target);
  device.catchUp();
  EXPECT_EQ(std::filesystem::read_symlink(device.at("folder/link")), "../moved");
  cloud.erase({target});
  device.catchUp();
  EXPECT_FALSE(std::filesystem::is_symlink(device.at("folder/link")));
}

TEST(FeedCursor, AfterAnExpiredTokenTheResultIsTheSameAsIfNothingHadHappened) {
  SharedCloud cloud;
  std::vector<DocumentRecord> records;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  for (int index = 0; index < 20; ++index) {
    records.push_back(
        cloud.save(cloud.documentRecord("d" + std::to_string(index), "x", folder.id.name)));
  }
  Device device(cloud);
  device.catchUp();
  device.fetch(records[0]);
  device.fetch(records[1]);
  records[1].name = "renamed";
  cloud.save(records[1]);
  cloud.erase({records[2], records[3]});
  device.store->write([](StoreWriter& writer) { writer.setText("feedToken", "nonsense"); });
  device.open();
  device.catchUp();
  Device fresh(cloud, "fresh");
  fresh.catchUp();
  fresh.fetch(records[0]);
  fresh.fetch(records[1]);
  EXPECT_EQ(device.items(), fresh.items());
  EXPECT_EQ(device.onDisk(), device.items());
  EXPECT_NE(device.cursor->token(), "nonsense");
}

TEST(FeedCursor, AFileWhereAFolderShouldBeIsLeftAlone) {
  SharedCloud cloud;
  Device device(cloud);
  device.write("folder", "a file of mine");
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  cloud.save(cloud.documentRecord("document", "x", folder.id.name));
  device.catchUp();
  EXPECT_EQ(device.content("folder"), "a file of mine");
  EXPECT_EQ(device.items(), (Paths{"folder (2)/", "folder (2)/document~"}));
}

TEST(FeedCursor, LinksOfAPersonAreNeverFollowed) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  Device device(cloud);
  device.catchUp();
  std::filesystem::create_directory(cloud.folder / "outside");
  std::filesystem::remove(device.at("folder"));
  std::filesystem::create_directory_symlink(cloud.folder / "outside", device.at("folder"));
  cloud.save(cloud.documentRecord("document", "x", folder.id.name));
  EXPECT_THROW(device.catchUp(), SkiffError);
  EXPECT_TRUE(std::filesystem::is_empty(cloud.folder / "outside"));
  std::filesystem::remove(device.at("folder"));
  device.catchUp();
  EXPECT_EQ(device.onDisk(), (Paths{"folder/", "folder/document~"}));
}

TEST(FeedCursor, SurvivesBeingKilledAtAnyMoment) {
  SharedCloud cloud;
  std::mt19937 random(4711);
  std::vector<DocumentRecord> folders;
  std::vector<DocumentRecord> documents;
  for (int index = 0; index < 12; ++index) {
    folders.push_back(cloud.save(SharedCloud::folderRecord("f" + std::to_string(index))));
  }
  for (int index = 0; index < 150; ++index) {
    documents.push_back(cloud.save(
        cloud.documentRecord("d" + std::to_string(index % 40), "x" + std::to_string(index),
                             folders[random() % folders.size()].id.name)));
  }
  {
    Device device(cloud);
    device.catchUp();
    for (std::size_t index = 0; index < documents.size(); index += 2) {
      device.fetch(documents[index]);
    }
  }
  for (int round = 0; round < 12; ++round) {
    std::vector<DocumentRecord> changed;
    std::shuffle(documents.begin(), documents.end(), random);
    for (std::size_t index = 0; index < 60; ++index) {
      DocumentRecord& record = documents[index];
      record.parent = folders[random() % folders.size()].id.name;
      record.name = "d" + std::to_string(random() % 40);
      if (random() % 3 == 0) record.content = cloud.upload("new " + std::to_string(random()));
      changed.push_back(record);
    }
    cloud.saveAll(changed);
    pid_t child = ::fork();
    if (child == 0) {
      // The cloud's connections stay with the parent: a device of its own opens them anew.
      auto service = openCloudService(cloud.folder / "cloud", OpenCloud::Existing);
      auto database = service->privateDatabase("ann");
      ItemStore store(Home::at(cloud.folder / "home").itemStore());
      SyncedTree tree(Home::at(cloud.folder / "home").tree());
      ProblemList problems;
      recoverTree(store, tree);
      FeedCursor cursor(store, tree, problems, "ann");
      cursor.catchUp(*database, std::stop_token());
      ::_exit(0);
    }
    ::usleep(random() % 40'000);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(device.onDisk(), device.items());
  Device fresh(cloud, "fresh");
  fresh.catchUp();
  for (const DocumentRecord& record : documents) {
    auto ours = device.item(record);
    auto theirs = fresh.item(record);
    ASSERT_TRUE(ours && theirs);
    EXPECT_EQ(ours->wantedName(), theirs->wantedName());
    EXPECT_EQ(device.store->reader()->find(ours->parent)->uuid,
              fresh.store->reader()->find(theirs->parent)->uuid);
    EXPECT_EQ(ours->contentHash, theirs->contentHash);
    if (ours->isLocal()) {
      EXPECT_EQ(ours->localHash, ours->contentHash);
    }
    device.fetch(record);
    std::string path = *device.store->reader()->path(ours->id);
    EXPECT_EQ(cloud.upload(device.content(path)).sha256, ours->contentHash) << path;
  }
  EXPECT_EQ(device.problems.texts(), std::vector<std::string>{});
}

}  // namespace
}  // namespace tessera
