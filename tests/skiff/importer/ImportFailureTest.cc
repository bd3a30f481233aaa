#include <gtest/gtest.h>

#include <set>
#include <string>
#include <variant>

#include "ImportScene.h"

namespace tessera {
namespace {

constexpr int kFiles = 1300;  // three batches

void manyFiles(const ImportScene& scene) {
  for (int number = 0; number < kFiles; ++number) {
    scene.file("folder" + std::to_string(number % 7) + "/sub/" + std::to_string(number),
               std::to_string(number));
  }
}

std::function<void()> fullAt(int call) {
  return [call, calls = 0]() mutable {
    if (++calls == call) throw CloudError(CloudError::Code::NoSpace, "The storage is full.");
  };
}

// Runs an import that fails for want of space; returns what it says was saved.
ImportReport failingImport(ImportScene& scene) {
  try {
    scene.import();
  } catch (const ImportFailed& failure) {
    EXPECT_EQ(failure.code(), CloudError::Code::NoSpace);
    EXPECT_STREQ(failure.what(), "The storage is full.");
    return failure.report();
  }
  ADD_FAILURE() << "the failure was swallowed";
  return {};
}

void expectCloudHolds(const ImportScene& scene, const ImportReport& report) {
  std::uint64_t documents = 0;
  std::uint64_t folders = 0;
  for (const auto& [path, document] : scene.items()) {
    if (document.kind == DocumentKind::Folder) {
      ++folders;
    } else {
      ++documents;
      EXPECT_EQ(scene.content(*document.content), document.name) << path;
    }
  }
  EXPECT_EQ(documents, report.documents);
  EXPECT_EQ(folders, report.folders);
}

TEST(ImportFailure, SavesFoldersBeforeWhatIsInThem) {
  ImportScene scene;
  manyFiles(scene);
  std::set<std::string> saved = {kDocumentsFolderRecord};
  int batches = 0;
  scene.database.beforeModify = [&saved, &batches](const std::vector<Record>& records) {
    ++batches;
    for (const Record& record : records) {
      EXPECT_TRUE(saved.contains(DocumentRecord::fromRecord(record).parent));
      saved.insert(record.id.name);
    }
  };
  EXPECT_EQ(scene.import().documents, static_cast<std::uint64_t>(kFiles));
  EXPECT_EQ(batches, 3);
}

TEST(ImportFailure, TellsThatTheCloudIsFullWhenABatchIsMadeDurable) {
  ImportScene scene;
  manyFiles(scene);
  scene.assets.beforeCommit = fullAt(3);
  ImportReport report = failingImport(scene);
  EXPECT_GT(report.documents, 900U);
  EXPECT_LT(report.documents, 1100U);
  expectCloudHolds(scene, report);
}

TEST(ImportFailure, TellsThatTheCloudIsFullWhileContentIsWritten) {
  ImportScene scene;
  manyFiles(scene);
  scene.assets.beforePut = fullAt(1200);
  ImportReport report = failingImport(scene);
  EXPECT_GT(report.documents, 900U);
  EXPECT_LT(report.documents, 1200U);
  expectCloudHolds(scene, report);
}

TEST(ImportFailure, TellsThatTheCloudIsFullInTheLastBatch) {
  ImportScene scene;
  scene.file("a", "a");
  scene.assets.beforeCommit = fullAt(1);
  ImportReport report = failingImport(scene);
  EXPECT_EQ(report.documents, 0U);
  EXPECT_TRUE(scene.items().empty());
}

TEST(ImportFailure, GoesOnWhereAFailedImportEnded) {
  ImportScene scene;
  manyFiles(scene);
  scene.assets.beforeCommit = fullAt(3);
  ImportReport first = failingImport(scene);
  scene.assets.beforeCommit = nullptr;
  ImportReport second = scene.import();
  EXPECT_EQ(second.unchanged, first.documents);
  EXPECT_EQ(second.documents, kFiles - first.documents);
  EXPECT_EQ(scene.items().size(), kFiles + 14U);
}

TEST(ImportFailure, RefusesWhatIsNoFolder) {
  ImportScene scene;
  CloudImporter importer(scene.database, scene.assets, scene.zone);
  auto refusal = [&importer](const std::filesystem::path& path) -> std::string {
    try {
      importer.importFolder(path, {}, {});
    } catch (const ImportRefused& error) {
      return error.what();
    }
    return "nothing was thrown";
  };
  std::filesystem::path file = scene.file("file", "x");
  EXPECT_EQ(refusal(scene.source() / "nowhere"),
            "There is no folder " + (scene.source() / "nowhere").string());
  EXPECT_EQ(refusal(file), file.string() + " is not a folder");
}

TEST(ImportFailure, TellsWhenTheContainerIsUnknown) {
  ImportScene scene;
  scene.file("a", "a");
  CloudImporter importer(scene.database, scene.assets, {"someone", "no.such.container"});
  try {
    importer.importFolder(scene.source(), {}, {});
    ADD_FAILURE() << "nothing was thrown";
  } catch (const CloudError& error) {
    EXPECT_EQ(error.code(), CloudError::Code::NoSuchContainer);
  }
}

}  // namespace
}  // namespace tessera
