#include "skiff/importer/CloudImporter.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ImportScene.h"

namespace tessera {
namespace {

using Paths = std::vector<std::string>;

void setModified(const std::filesystem::path& path, std::int64_t seconds, long nanoseconds) {
  timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

std::int64_t birthOf(const std::filesystem::path& path) {
  struct statx status {};
  EXPECT_EQ(::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
  EXPECT_NE(status.stx_mask & STATX_BTIME, 0U);
  return std::int64_t{status.stx_btime.tv_sec} * 1'000'000'000 + status.stx_btime.tv_nsec;
}

// The form of a random UUID in lower case; x stands for any digit.
bool isRandomUuid(const std::string& name) {
  const std::string form = "xxxxxxxx-xxxx-4xxx-Vxxx-xxxxxxxxxxxx";
  return name.size() == form.size() &&
         std::equal(name.begin(), name.end(), form.begin(), [](char c, char wanted) {
           std::string digits = wanted == 'x' ? "0123456789abcdef" : "89ab";
           return c == wanted ||
                  ((wanted == 'x' || wanted == 'V') && digits.find(c) != digits.npos);
         });
}

TEST(CloudImporter, PutsFilesAndFoldersIntoTheZone) {
  ImportScene scene;
  scene.file("a.txt", "first");
  scene.file("folder/deeper/b.txt", "second");
  scene.file("folder/empty", "");
  scene.folder("nothing in it");
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"a.txt", "folder", "folder/deeper", "folder/deeper/b.txt",
                                  "folder/empty", "nothing in it"}));
  EXPECT_EQ(scene.content("a.txt"), "first");
  EXPECT_EQ(scene.content("folder/deeper/b.txt"), "second");
  EXPECT_EQ(scene.content("folder/empty"), "");
  EXPECT_EQ(report.folders, 3U);
  EXPECT_EQ(report.documents, 3U);
  EXPECT_EQ(report.bytes, 11U);
  EXPECT_EQ(report.unchanged, 0U);
  EXPECT_EQ(report.leftOutCount, 0U);
  EXPECT_FALSE(report.stopped);
}

TEST(CloudImporter, KeepsContentOfAnySize) {
  ImportScene scene;
  const std::size_t mebibyte = 1 << 20;
  std::string pattern;
  for (std::size_t index = 0; pattern.size() < 3 * mebibyte + 7; ++index) {
    pattern += std::to_string(index);
  }
  for (std::size_t size : {mebibyte - 1, mebibyte, mebibyte + 1, 2 * mebibyte + 2, 3 * mebibyte}) {
    scene.file(std::to_string(size), pattern.substr(0, size));
  }
  scene.import();
  for (const auto& [path, document] : scene.items()) {
    EXPECT_EQ(document.content->size, std::stoull(path));
    EXPECT_TRUE(scene.content(path) == pattern.substr(0, std::stoull(path))) << path;
  }
  EXPECT_EQ(scene.paths().size(), 5U);
}

TEST(CloudImporter, KeepsDatesToTheNanosecond) {
  ImportScene scene;
  setModified(scene.file("old", "x"), -86400, 123456789);
  setModified(scene.file("new", "x"), 1700000000, 987654321);
  scene.folder("folder");
  setModified(scene.source() / "folder", 1600000000, 1);
  scene.import();
  auto items = scene.items();
  EXPECT_EQ(items.at("old").modifiedAt, -86400LL * 1'000'000'000 + 123456789);
  EXPECT_EQ(items.at("new").modifiedAt, 1700000000987654321);
  EXPECT_EQ(items.at("folder").modifiedAt, 1600000000000000001);
  for (const char* name : {"old", "new", "folder"}) {
    EXPECT_EQ(items.at(name).createdAt, birthOf(scene.source() / name)) << name;
  }
}

TEST(CloudImporter, KeepsTheExecutableBitAndTellsTheType) {
  ImportScene scene;
  std::filesystem::permissions(scene.file("tool", "#!"), std::filesystem::perms(0755));
  std::filesystem::permissions(scene.file("text.txt", "t"), std::filesystem::perms(0644));
  scene.folder("folder.txt");
  scene.import();
  auto items = scene.items();
  EXPECT_TRUE(items.at("tool").executable);
  EXPECT_EQ(items.at("tool").contentType, "");
  EXPECT_FALSE(items.at("text.txt").executable);
  EXPECT_EQ(items.at("text.txt").contentType, "text/plain");
  EXPECT_FALSE(items.at("folder.txt").executable);
  EXPECT_EQ(items.at("folder.txt").contentType, "");
}

TEST(CloudImporter, KeepsNamesAsTheyAre) {
  ImportScene scene;
  const Paths names = {"a\nb",
                       std::string(255, 'n'),
                       "\xc3\xa9t\xc3\xa9",
                       "e\xcc\x81t\xc3\xa9",
                       " leading and trailing ",
                       "back\\slash",
                       "-rf",
                       "A",
                       "a"};
  for (const std::string& name : names) scene.file(name, name);
  scene.file("f\n/" + std::string(255, 'x'), "deep");
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 0U);
  EXPECT_EQ(scene.paths().size(), names.size() + 2);
  for (const std::string& name : names) EXPECT_EQ(scene.content(name), name);
  EXPECT_EQ(scene.content("f\n/" + std::string(255, 'x')), "deep");
}

TEST(CloudImporter, NamesRecordsByRandomUuids) {
  ImportScene scene;
  scene.file("a", "same");
  scene.file("b", "same");
  scene.import();
  auto items = scene.items();
  EXPECT_TRUE(isRandomUuid(items.at("a").id.name)) << items.at("a").id.name;
  EXPECT_NE(items.at("a").id.name, items.at("b").id.name);
}

TEST(CloudImporter, ChangesNothingWhenItRunsAgain) {
  ImportScene scene;
  scene.file("folder/small", "small");
  scene.file("large", std::string(3 << 20, 'l'));
  scene.import();
  auto before = scene.items();
  setModified(scene.source() / "large", 1000, 0);
  std::size_t uploads = 0;
  scene.assets.beforeUpload = [&uploads] { ++uploads; };
  scene.database.beforeModify = [](const std::vector<Record>&) { FAIL() << "nothing to save"; };
  ImportReport report = scene.import();
  EXPECT_EQ(report.unchanged, 2U);
  EXPECT_EQ(report.documents, 0U);
  EXPECT_EQ(report.folders, 0U);
  EXPECT_EQ(report.bytes, 0U);
  EXPECT_EQ(uploads, 0U) << "a large file that the cloud has is not sent again";
  auto after = scene.items();
  ASSERT_EQ(after.size(), before.size());
  for (const auto& [path, document] : before) {
    EXPECT_EQ(after.at(path).changeTag, document.changeTag) << path;
  }
}

TEST(CloudImporter, SavesANewVersionOfADocumentWithOtherContent) {
  ImportScene scene;
  scene.file("folder/small.txt", "one");
  scene.file("large", std::string(2 << 20, 'a'));
  scene.import();
  auto before = scene.items();
  DocumentRecord tagged = before.at("folder/small.txt");
  tagged.tags = {"important"};
  tagged.favoriteRank = 7;
  scene.save(tagged);

  std::filesystem::permissions(scene.file("folder/small.txt", "other"),
                               std::filesystem::perms(0755));
  setModified(scene.source() / "folder/small.txt", 1500000000, 5);
  scene.file("large", std::string(2 << 20, 'b'));
  ImportReport report = scene.import();
  EXPECT_EQ(report.documents, 2U);
  EXPECT_EQ(report.bytes, 5U + (2 << 20));
  EXPECT_EQ(report.folders, 0U);
  auto after = scene.items();
  EXPECT_EQ(after.size(), before.size());
  const DocumentRecord& document = after.at("folder/small.txt");
  EXPECT_EQ(document.id, before.at("folder/small.txt").id);
  EXPECT_EQ(document.createdAt, before.at("folder/small.txt").createdAt);
  EXPECT_EQ(document.version, 3U);
  EXPECT_EQ(document.modifiedAt, 1500000000000000005);
  EXPECT_TRUE(document.executable);
  EXPECT_EQ(document.tags, (Paths{"important"}));
  EXPECT_EQ(document.favoriteRank, 7);
  EXPECT_EQ(scene.content("folder/small.txt"), "other");
  EXPECT_TRUE(scene.content("large") == std::string(2 << 20, 'b'));
}

TEST(CloudImporter, MergesFoldersAndDeletesNothing) {
  ImportScene scene;
  scene.file("folder/old", "old");
  scene.import();
  std::string folder = scene.items().at("folder").id.name;
  std::filesystem::remove(scene.source() / "folder/old");
  scene.file("folder/new", "new");
  scene.file("other/new", "new");
  ImportReport report = scene.import();
  EXPECT_EQ(report.folders, 1U);
  EXPECT_EQ(report.documents, 1U + 1U);
  EXPECT_EQ(scene.paths(), (Paths{"folder", "folder/new", "folder/old", "other", "other/new"}));
  EXPECT_EQ(scene.items().at("folder").id.name, folder);
}

TEST(CloudImporter, AddsAgainWhatWasDeletedInTheCloud) {
  ImportScene scene;
  scene.file("a", "a");
  scene.file("b", "b");
  scene.import();
  std::string record = scene.items().at("a").id.name;
  scene.realDatabase->modify({}, {{scene.zone, record}}, SavePolicy::Overwrite);
  ASSERT_EQ(scene.paths(), (Paths{"b"}));
  ImportReport report = scene.import();
  EXPECT_EQ(report.documents, 1U);
  EXPECT_EQ(report.unchanged, 1U);
  EXPECT_NE(scene.items().at("a").id.name, record);
}

TEST(CloudImporter, TakesItemsOfOtherZonesForNoneOfItsOwn) {
  ImportScene scene;
  DocumentRecord elsewhere = scene.item(DocumentKind::Document, kDocumentsFolderRecord, "a");
  elsewhere.id.zone.container = kDesktopContainer;
  scene.save(elsewhere);
  scene.save(scene.item(DocumentKind::Folder, kDocumentsFolderRecord, "own"));
  scene.file("a", "a");
  ImportReport report = scene.import();
  EXPECT_EQ(report.documents, 1U);
  EXPECT_EQ(scene.paths(), (Paths{"a", "own"}));
}

TEST(CloudImporter, IgnoresRecordsOfTheZoneThatAreNoItems) {
  ImportScene scene;
  Record share;
  share.id = {scene.zone, "share"};
  share.type = "share";
  scene.realDatabase->modify({share}, {}, SavePolicy::Overwrite);
  scene.file("a", "a");
  EXPECT_EQ(scene.import().documents, 1U);
}

TEST(CloudImporter, FindsWhatIsThereInAZoneOfManyPages) {
  ImportScene scene;
  constexpr std::size_t kFolders = 15;
  constexpr std::size_t kFiles = 80;
  for (std::size_t folder = 0; folder < kFolders; ++folder) {
    for (std::size_t file = 0; file < kFiles; ++file) {
      scene.file("folder" + std::to_string(folder) + "/" + std::to_string(file),
                 std::to_string(folder * file));
    }
  }
  EXPECT_EQ(scene.import().documents, kFolders * kFiles);
  scene.file("folder7/7", "changed");
  scene.file("folder7/new", "new");
  ImportReport report = scene.import();
  EXPECT_EQ(report.documents, 2U);
  EXPECT_EQ(report.unchanged, kFolders * kFiles - 1);
  EXPECT_EQ(report.folders, 0U);
}

}  // namespace
}  // namespace tessera
