#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "ScratchCloud.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

// A small file system in memory, seen by this process only and gone with it.
class CloudFullDisk : public ::testing::Test {
 protected:
  static constexpr const char* kSize = "size=4m";

  void SetUp() override {
    if (::geteuid() != 0 || ::unshare(CLONE_NEWNS) != 0) {
      std::fprintf(stderr, "\n*** NOT TESTED: mounting a file system takes root. ***\n\n");
      GTEST_SKIP() << "mounting a file system takes root";
    }
    ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    ASSERT_EQ(::mount("none", _folder.path().c_str(), "tmpfs", 0, kSize), 0);
    _mounted = true;
  }
  void TearDown() override {
    _assets.reset();
    _database.reset();
    _service.reset();
    if (_mounted) ::umount2(_folder.path().c_str(), MNT_DETACH);
  }

  void openCloud() {
    _service = openCloudService(_folder.cloud(), OpenCloud::CreateIfMissing);
    _service->makeAccount("ann");
    _database = _service->privateDatabase("ann");
    _assets = _service->assets();
  }
  // Takes up all space but `spare` bytes.
  void fill(std::size_t spare = 0) {
    int file = ::open((_folder.path() / "ballast").c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(file, 0);
    std::vector<char> block(4096);
    off_t size = 0;
    while (::write(file, block.data(), block.size()) == 4096) size += 4096;
    ASSERT_EQ(::ftruncate(file, std::max<off_t>(0, size - static_cast<off_t>(spare))), 0);
    ::close(file);
  }
  void makeRoom() { fs::remove(_folder.path() / "ballast"); }

  ScratchFolder _folder;
  bool _mounted = false;
  std::unique_ptr<CloudService> _service;
  std::shared_ptr<CloudDatabase> _database;
  std::shared_ptr<CloudAssets> _assets;
};

TEST_F(CloudFullDisk, RefusesAnUploadAndShowsNothingOfIt) {
  openCloud();
  std::string large(8 << 20, 'x');
  {
    auto upload = _assets->upload();
    EXPECT_EQ(codeThrownBy([&] { upload->write(bytesOf(large)); }), CloudError::Code::NoSpace);
  }
  EXPECT_EQ(codeThrownBy([&] { _assets->put(bytesOf(large)); }), CloudError::Code::NoSpace);
  EXPECT_TRUE(fs::is_empty(_folder.cloud() / "blobs"));

  // The space is free again, and the store works.
  Asset small = _assets->put(bytesOf("small"));
  _assets->commit({small});
  EXPECT_EQ(contentOf(*_assets, small), "small");
}

TEST_F(CloudFullDisk, RefusesASaveAndKeepsWhatWasThere) {
  openCloud();
  _database->modify({recordNamed("before")}, {}, SavePolicy::IfUnchanged);
  auto token = _database->changes("", 10).token;
  fill();
  std::string large(1 << 20, 'x');
  EXPECT_EQ(codeThrownBy([&] {
              _database->modify({recordNamed("small"), recordNamed("large", large)},
                                {idOf("before")}, SavePolicy::IfUnchanged);
            }),
            CloudError::Code::NoSpace);
  EXPECT_TRUE(_database->record(idOf("before")));
  EXPECT_FALSE(_database->record(idOf("small")));
  EXPECT_TRUE(_database->changes(token, 10).changed.empty());

  makeRoom();
  _database->modify({recordNamed("large", large)}, {}, SavePolicy::IfUnchanged);
  EXPECT_EQ(namesOf(_database->changes(token, 10).changed), (std::vector<std::string>{"large"}));
}

TEST_F(CloudFullDisk, StillOpensAndReads) {
  openCloud();
  Asset asset = _assets->put(bytesOf("content"));
  _assets->commit({asset});
  _database->modify({recordNamed("before")}, {}, SavePolicy::IfUnchanged);
  fill(64 << 10);  // SQLite cannot open a database without room for its shared memory
  auto again = openCloudService(_folder.cloud(), OpenCloud::Existing);
  EXPECT_TRUE(again->privateDatabase("ann")->record(idOf("before")));
  EXPECT_EQ(contentOf(*again->assets(), asset), "content");
}

TEST_F(CloudFullDisk, LeavesTheFolderEmptyWhenACloudCannotBeMade) {
  fill(16 << 10);
  EXPECT_EQ(
      codeThrownBy([&] { (void)openCloudService(_folder.cloud(), OpenCloud::CreateIfMissing); }),
      CloudError::Code::NoSpace);
  EXPECT_TRUE(!fs::exists(_folder.cloud()) || fs::is_empty(_folder.cloud()));
  makeRoom();
  openCloud();
}

}  // namespace
}  // namespace tessera
