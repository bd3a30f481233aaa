#include "cloud/CloudService.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ForkedProcess.h"
#include "ScratchCloud.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

std::string messageThrownBy(const fs::path& folder, OpenCloud mode) {
  try {
    (void)openCloudService(folder, mode);
  } catch (const CloudError& error) {
    return error.what();
  }
  return "";
}

TEST(OpenCloud, MakesACloudThatIsTheSameWhenItIsOpenedAgain) {
  ScratchFolder folder;
  std::string identifier =
      openCloudService(folder.cloud(), OpenCloud::CreateIfMissing)->identifier();
  EXPECT_EQ(identifier.size(), 36u);
  EXPECT_EQ(openCloudService(folder.cloud(), OpenCloud::Existing)->identifier(), identifier);
  EXPECT_EQ(openCloudService(folder.cloud(), OpenCloud::CreateIfMissing)->identifier(), identifier);
}

TEST(OpenCloud, MakesACloudInAnEmptyFolderAndInOneThatHasToBeMade) {
  ScratchFolder folder;
  fs::create_directories(folder.path() / "empty" / "lost+found");
  (void)openCloudService(folder.path() / "empty", OpenCloud::CreateIfMissing);
  (void)openCloudService(folder.path() / "a" / "b", OpenCloud::CreateIfMissing);
  EXPECT_TRUE(fs::exists(folder.path() / "empty" / "tessera-cloud.json"));
  EXPECT_TRUE(fs::exists(folder.path() / "a" / "b" / "tessera-cloud.json"));
}

TEST(OpenCloud, TakesFileUrls) {
  ScratchFolder folder;
  fs::path path = folder.path() / "my cloud";
  auto service = openCloudService(path, OpenCloud::CreateIfMissing);
  for (const std::string& host : {std::string(), std::string("localhost")}) {
    std::string url = "file://" + host + folder.path().string() + "/my%20cloud";
    EXPECT_EQ(openCloudService(url, OpenCloud::Existing)->identifier(), service->identifier());
  }
}

TEST(OpenCloud, RefusesUrlsThatNoEngineServes) {
  for (const char* url : {"", "relative/path", "https://example.com/cloud", "file://other/cloud",
                          "file:///broken%2", "file:///broken%zz", "file:///nul%00"}) {
    EXPECT_EQ(codeThrownBy([url] { (void)openCloudService(url, OpenCloud::CreateIfMissing); }),
              CloudError::Code::InvalidArgument)
        << url;
  }
}

TEST(OpenCloud, RefusesAFolderThatIsMissingAndDoesNotMakeIt) {
  ScratchFolder folder;
  EXPECT_EQ(
      codeThrownBy([&folder] { (void)openCloudService(folder.cloud(), OpenCloud::Existing); }),
      CloudError::Code::NotACloud);
  EXPECT_NE(messageThrownBy(folder.cloud(), OpenCloud::Existing).find("Check the path"),
            std::string::npos);
  EXPECT_FALSE(fs::exists(folder.cloud()));
}

TEST(OpenCloud, RefusesAFolderOfOtherFilesAndLeavesItAlone) {
  ScratchFolder folder;
  fs::create_directories(folder.cloud() / "photos");
  std::ofstream(folder.cloud() / "photos" / "cat") << "meow";
  auto before = everythingIn(folder.cloud());
  for (OpenCloud mode : {OpenCloud::Existing, OpenCloud::CreateIfMissing}) {
    EXPECT_EQ(codeThrownBy([&folder, mode] { (void)openCloudService(folder.cloud(), mode); }),
              CloudError::Code::NotACloud);
    EXPECT_EQ(everythingIn(folder.cloud()), before);
  }
  EXPECT_NE(messageThrownBy(folder.cloud(), OpenCloud::CreateIfMissing).find("empty folder"),
            std::string::npos);
}

TEST(OpenCloud, RefusesAPathThatIsAFile) {
  ScratchFolder folder;
  std::ofstream(folder.cloud()) << "text";
  for (OpenCloud mode : {OpenCloud::Existing, OpenCloud::CreateIfMissing}) {
    EXPECT_EQ(codeThrownBy([&folder, mode] { (void)openCloudService(folder.cloud(), mode); }),
              CloudError::Code::NotACloud);
  }
}

TEST(OpenCloud, RefusesANewerFormatAndLeavesItUntouched) {
  ScratchFolder folder;
  (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  std::ofstream(folder.cloud() / "tessera-cloud.json")
      << R"({"product": "tessera-cloud", "format": 2, "identifier": {"new": "form"}})";
  auto before = everythingIn(folder.cloud());
  for (OpenCloud mode : {OpenCloud::Existing, OpenCloud::CreateIfMissing}) {
    EXPECT_EQ(codeThrownBy([&folder, mode] { (void)openCloudService(folder.cloud(), mode); }),
              CloudError::Code::NewerVersion);
    EXPECT_EQ(everythingIn(folder.cloud()), before);
  }
  EXPECT_NE(messageThrownBy(folder.cloud(), OpenCloud::Existing).find("Update Tessera"),
            std::string::npos);
}

TEST(OpenCloud, RefusesAMarkerThatIsNotOurs) {
  for (const char* text : {"", "not json", "[]", "{}", R"({"product": "other", "format": 1})",
                           R"({"product": "tessera-cloud", "format": "1"})"}) {
    ScratchFolder folder;
    fs::create_directories(folder.cloud());
    std::ofstream(folder.cloud() / "tessera-cloud.json") << text;
    auto before = everythingIn(folder.cloud());
    EXPECT_EQ(codeThrownBy([&folder] {
                (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
              }),
              CloudError::Code::NotACloud)
        << text;
    EXPECT_EQ(everythingIn(folder.cloud()), before);
  }
}

TEST(OpenCloud, SaysThatACloudWithoutItsDatabaseIsDamaged) {
  ScratchFolder folder;
  (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  fs::remove(folder.cloud() / "cloud.db");
  EXPECT_EQ(codeThrownBy(
                [&folder] { (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing); }),
            CloudError::Code::Corrupt);
  EXPECT_FALSE(fs::exists(folder.cloud() / "cloud.db"));
}

TEST(OpenCloud, SaysThatADatabaseOfAnotherCloudIsDamage) {
  ScratchFolder mine;
  ScratchFolder other;
  (void)openCloudService(mine.cloud(), OpenCloud::CreateIfMissing);
  (void)openCloudService(other.cloud(), OpenCloud::CreateIfMissing);
  fs::copy_file(other.cloud() / "cloud.db", mine.cloud() / "cloud.db",
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(codeThrownBy([&mine] { (void)openCloudService(mine.cloud(), OpenCloud::Existing); }),
            CloudError::Code::Corrupt);
}

TEST(OpenCloud, BeginsACreationAgainThatWasCutShort) {
  ScratchFolder folder;
  (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  // As it is when the process ends right before the last rename.
  fs::remove(folder.cloud() / "wake");
  fs::rename(folder.cloud() / "tessera-cloud.json", folder.cloud() / "tessera-cloud.json.creating");
  EXPECT_EQ(
      codeThrownBy([&folder] { (void)openCloudService(folder.cloud(), OpenCloud::Existing); }),
      CloudError::Code::NotACloud);
  auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  EXPECT_EQ(service->makeAccount("ann").name, "ann");
  EXPECT_FALSE(fs::exists(folder.cloud() / "tessera-cloud.json.creating"));
}

TEST(OpenCloud, GivesOneCloudToProcessesThatCreateItAtOnce) {
  for (int round = 0; round < 10; ++round) {
    ScratchFolder folder;
    BytePipe start;
    std::vector<std::unique_ptr<ForkedProcess>> processes;
    for (int index = 0; index < 4; ++index) {
      processes.push_back(std::make_unique<ForkedProcess>([&folder, &start, index] {
        start.closeSending();
        static_cast<void>(start.receive());  // returns for all at once when the pipe ends
        auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
        std::ofstream(folder.path() / ("seen-" + std::to_string(index))) << service->identifier();
        service->makeAccount("account-" + std::to_string(index));
      }));
    }
    start.closeSending();
    for (auto& process : processes) EXPECT_EQ(process->wait(), 0);
    auto service = openCloudService(folder.cloud(), OpenCloud::Existing);
    for (int index = 0; index < 4; ++index) {
      std::ifstream file(folder.path() / ("seen-" + std::to_string(index)));
      std::string seen;
      file >> seen;
      EXPECT_EQ(seen, service->identifier());
      EXPECT_TRUE(service->account("account-" + std::to_string(index)));
    }
  }
}

}  // namespace
}  // namespace tessera
