#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ImportScene.h"

namespace tessera {
namespace {

using Paths = std::vector<std::string>;

// A zone with "doc" in it, and a source with other content for it and a file besides.
void prepare(ImportScene& scene) {
  scene.file("doc", "one");
  scene.import();
  scene.file("doc", "two, from the source");
  scene.file("folder/besides", "besides");
}

DocumentRecord doc(const ImportScene& scene) {
  return scene.items().at("doc");
}

TEST(CloudConflict, LeavesOutAFileWhereTheCloudHasAFolderOrAReference) {
  ImportScene scene;
  scene.save(scene.item(DocumentKind::Folder, kDocumentsFolderRecord, "folder"));
  scene.save(scene.item(DocumentKind::Reference, kDocumentsFolderRecord, "reference"));
  scene.file("folder", "file");
  scene.file("reference", "file");
  scene.file("z", "z");
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 2U);
  EXPECT_EQ(reasonFor(scene, report, "folder"),
            "The cloud has a folder of this name, which a file cannot replace");
  EXPECT_EQ(reasonFor(scene, report, "reference"),
            "The cloud has a reference of this name, which a file cannot replace");
  EXPECT_EQ(scene.paths(), (Paths{"folder", "reference", "z"}));
  EXPECT_EQ(scene.items().at("folder").kind, DocumentKind::Folder);
}

TEST(CloudConflict, LeavesOutAFolderWithAllThatIsInItWhereTheCloudHasADocument) {
  ImportScene scene;
  scene.save(scene.item(DocumentKind::Document, kDocumentsFolderRecord, "doc"));
  scene.file("doc/deeper/file", "file");
  scene.file("z", "z");
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 1U);
  EXPECT_EQ(reasonFor(scene, report, "doc"),
            "The cloud has a document of this name, which a folder cannot replace");
  EXPECT_EQ(scene.paths(), (Paths{"doc", "z"}));
}

TEST(CloudConflict, ReadsADocumentAgainThatWasChangedMeanwhileAndKeepsTheOtherChange) {
  ImportScene scene;
  prepare(scene);
  int saves = 0;
  scene.database.beforeModify = [&scene, &saves](const std::vector<Record>&) {
    if (++saves > 1) return;
    DocumentRecord theirs = doc(scene);
    theirs.tags = {"theirs"};
    scene.save(theirs);
  };
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 0U);
  EXPECT_EQ(report.documents, 2U);
  EXPECT_EQ(report.folders, 1U);
  EXPECT_EQ(scene.paths(), (Paths{"doc", "folder", "folder/besides"}));
  EXPECT_EQ(scene.content("doc"), "two, from the source");
  EXPECT_EQ(doc(scene).tags, (Paths{"theirs"}));
  EXPECT_EQ(doc(scene).version, 3U);
}

TEST(CloudConflict, LeavesOutADocumentThatChangesAgainAndSavesTheRest) {
  ImportScene scene;
  prepare(scene);
  scene.database.beforeModify = [&scene](const std::vector<Record>&) {
    DocumentRecord theirs = doc(scene);
    theirs.tags.push_back("again");
    scene.save(theirs);
  };
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 1U);
  EXPECT_EQ(reasonFor(scene, report, "doc"),
            "The cloud's document of this name changes at the same time");
  EXPECT_EQ(report.documents, 1U);
  EXPECT_EQ(scene.content("doc"), "one");
  EXPECT_EQ(scene.content("folder/besides"), "besides");
}

TEST(CloudConflict, CountsADocumentAsUnchangedThatSomebodyGaveTheSameContentMeanwhile) {
  ImportScene scene;
  prepare(scene);
  int saves = 0;
  scene.database.beforeModify = [&scene, &saves](const std::vector<Record>& records) {
    if (++saves > 1) return;
    for (const Record& record : records) {
      auto ours = DocumentRecord::fromRecord(record);
      if (ours.name == "doc") scene.save(ours);
    }
  };
  ImportReport report = scene.import();
  EXPECT_EQ(report.unchanged, 1U);
  EXPECT_EQ(report.documents, 1U);
  EXPECT_EQ(doc(scene).version, 2U);
}

TEST(CloudConflict, AddsADocumentAgainThatWasDeletedOrRenamedMeanwhile) {
  for (bool renamed : {false, true}) {
    ImportScene scene;
    prepare(scene);
    std::string record = doc(scene).id.name;
    int saves = 0;
    scene.database.beforeModify = [&scene, &saves, renamed](const std::vector<Record>&) {
      if (++saves > 1) return;
      DocumentRecord theirs = doc(scene);
      if (renamed) {
        theirs.name = "renamed";
        scene.save(theirs);
      } else {
        scene.realDatabase->modify({}, {theirs.id}, SavePolicy::Overwrite);
      }
    };
    ImportReport report = scene.import();
    EXPECT_EQ(report.documents, 2U);
    EXPECT_EQ(scene.content("doc"), "two, from the source");
    EXPECT_NE(doc(scene).id.name, record);
    EXPECT_EQ(scene.items().contains("renamed"), renamed);
    if (renamed) {
      EXPECT_EQ(scene.content("renamed"), "one");
    }
  }
}

}  // namespace
}  // namespace tessera
