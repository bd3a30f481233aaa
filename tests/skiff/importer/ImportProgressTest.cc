#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ImportScene.h"

namespace tessera {
namespace {

using Paths = std::vector<std::string>;

TEST(ImportProgress, CountsUpToTheTotal) {
  ImportScene scene;
  scene.file("a", "12345");
  scene.file("folder/b", std::string(3 << 20, 'b'));
  scene.file("folder/c", "");
  std::filesystem::create_symlink("a", scene.source() / "link");
  std::vector<ImportProgress> seen;
  scene.progress = [&seen](const ImportProgress& progress) { seen.push_back(progress); };
  scene.import();
  ASSERT_GT(seen.size(), 3U);
  EXPECT_EQ(seen.front().total, 0U) << "not counted yet";
  EXPECT_EQ(seen.front().documents, 0U);
  bool withinTheLargeOne = false;
  for (std::size_t index = 1; index < seen.size(); ++index) {
    EXPECT_EQ(seen[index].total, 3U);
    EXPECT_GE(seen[index].documents, seen[index - 1].documents);
    EXPECT_GE(seen[index].bytes, seen[index - 1].bytes);
    if (seen[index].documents == 1 && seen[index].bytes > 5 && seen[index].bytes < (3 << 20)) {
      withinTheLargeOne = true;
    }
  }
  EXPECT_TRUE(withinTheLargeOne);
  EXPECT_EQ(seen.back().documents, 3U);
  EXPECT_EQ(seen.back().bytes, 5U + (3 << 20));
}

TEST(ImportProgress, CountsDocumentsThatAreLeftOutOrUnchangedToo) {
  ImportScene scene;
  scene.file("same", "same");
  scene.import();
  scene.save(scene.item(DocumentKind::Folder, kDocumentsFolderRecord, "clash"));
  scene.file("clash", "x");
  ImportProgress last;
  scene.progress = [&last](const ImportProgress& progress) { last = progress; };
  scene.import();
  EXPECT_EQ(last.documents, 2U);
  EXPECT_EQ(last.total, 2U);
}

TEST(ImportProgress, StopsBetweenDocumentsAndKeepsWhatWasRead) {
  ImportScene scene;
  for (const char* name : {"a", "b", "c", "d", "e"}) scene.file(name, name);
  scene.progress = [&scene](const ImportProgress& progress) {
    if (progress.documents == 3) scene.stop.request_stop();
  };
  ImportReport report = scene.import();
  EXPECT_TRUE(report.stopped);
  EXPECT_EQ(report.documents, 3U);
  EXPECT_EQ(report.leftOutCount, 0U);
  EXPECT_EQ(scene.paths(), (Paths{"a", "b", "c"}));
}

TEST(ImportProgress, StopsWithinALargeDocumentAndDropsIt) {
  ImportScene scene;
  scene.file("a", "a");
  scene.file("large", std::string(4 << 20, 'l'));
  scene.file("z", "z");
  scene.progress = [&scene](const ImportProgress& progress) {
    if (progress.documents == 1 && progress.bytes > 1) scene.stop.request_stop();
  };
  ImportReport report = scene.import();
  EXPECT_TRUE(report.stopped);
  EXPECT_EQ(report.leftOutCount, 0U) << "nothing is wrong with the document";
  EXPECT_EQ(scene.paths(), (Paths{"a"}));
}

TEST(ImportProgress, StopsBeforeItBegins) {
  ImportScene scene;
  scene.file("a", "a");
  scene.stop.request_stop();
  ImportReport report = scene.import();
  EXPECT_TRUE(report.stopped);
  EXPECT_TRUE(scene.items().empty());
}

TEST(ImportProgress, GoesOnAfterAStop) {
  ImportScene scene;
  for (const char* name : {"a", "b", "c"}) scene.file(name, name);
  scene.progress = [&scene](const ImportProgress& progress) {
    if (progress.documents == 2) scene.stop.request_stop();
  };
  scene.import();
  scene.stop = std::stop_source();
  scene.progress = nullptr;
  ImportReport report = scene.import();
  EXPECT_FALSE(report.stopped);
  EXPECT_EQ(report.unchanged, 2U);
  EXPECT_EQ(report.documents, 1U);
}

}  // namespace
}  // namespace tessera
