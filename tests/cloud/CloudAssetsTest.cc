#include "cloud/CloudAssets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ScratchCloud.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

// Of "abc", as FIPS 180-4 gives it.
constexpr const char* kAbcHash = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

fs::path blobOf(const ScratchCloud& cloud, const Asset& asset) {
  return cloud.folder.cloud() / "blobs" / asset.sha256.substr(0, 2) / asset.sha256;
}

std::size_t filesIn(const fs::path& folder) {
  std::size_t count = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) ++count;
  }
  return count;
}

TEST(CloudAssets, AreNamedByTheHashOfTheirBytes) {
  ScratchCloud cloud;
  auto upload = cloud.assets->upload();
  upload->write(bytesOf("a"));
  upload->write(bytesOf(""));
  upload->write(bytesOf("bc"));
  EXPECT_EQ(upload->finish(), (Asset{kAbcHash, 3}));
  EXPECT_EQ(cloud.assets->put(bytesOf("abc")), (Asset{kAbcHash, 3}));
}

TEST(CloudAssets, ComeBackAsTheyWentUp) {
  ScratchCloud cloud;
  std::string large;
  for (int index = 0; index < 100'000; ++index) large += std::to_string(index);
  auto upload = cloud.assets->upload();
  upload->write(bytesOf(large));
  Asset whole = upload->finish();
  Asset empty = cloud.assets->put({});
  cloud.assets->commit({whole, empty});
  EXPECT_EQ(contentOf(*cloud.assets, whole), large);
  EXPECT_EQ(contentOf(*cloud.assets, empty), "");

  auto again = openCloudService(cloud.folder.cloud(), OpenCloud::Existing);
  EXPECT_EQ(contentOf(*again->assets(), whole), large);
}

TEST(CloudAssets, AreDownloadedFromTheMiddleOn) {
  ScratchCloud cloud;
  Asset asset = cloud.assets->put(bytesOf("0123456789"));
  cloud.assets->commit({asset});
  EXPECT_EQ(contentOf(*cloud.assets, asset, 4), "456789");
  EXPECT_EQ(contentOf(*cloud.assets, asset, 10), "");
  EXPECT_EQ(contentOf(*cloud.assets, asset, 1000), "");
}

TEST(CloudAssets, AreNotThereBeforeTheyAreCommitted) {
  ScratchCloud cloud;
  Asset asset = cloud.assets->put(bytesOf("abc"));
  EXPECT_EQ(codeThrownBy([&] { (void)cloud.assets->download(asset, 0); }),
            CloudError::Code::NoSuchAsset);
  cloud.assets->commit({asset});
  EXPECT_EQ(contentOf(*cloud.assets, asset), "abc");
}

TEST(CloudAssets, AreCommittedByTheThousandAndByTheOne) {
  ScratchCloud cloud;
  std::vector<Asset> assets;
  std::vector<std::string> contents;
  for (int index = 0; index < 1000; ++index) {
    contents.push_back("content " + std::to_string(index));
    assets.push_back(cloud.assets->put(bytesOf(contents.back())));
  }
  cloud.assets->commit({assets[0]});
  cloud.assets->commit(assets);
  for (std::size_t index = 0; index < assets.size(); ++index) {
    ASSERT_EQ(contentOf(*cloud.assets, assets[index]), contents[index]);
  }
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 0u);
}

TEST(CloudAssets, OfEqualContentAreKeptOnce) {
  ScratchCloud cloud;
  Asset first = cloud.assets->put(bytesOf("abc"));
  auto upload = cloud.assets->upload();
  upload->write(bytesOf("abc"));
  EXPECT_EQ(upload->finish(), first);
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 1u);
  cloud.assets->commit({first, first});
  auto written = fs::last_write_time(blobOf(cloud, first));

  EXPECT_EQ(cloud.assets->put(bytesOf("abc")), first);
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 0u);
  cloud.assets->commit({first});
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "blobs"), 1u);
  EXPECT_EQ(fs::last_write_time(blobOf(cloud, first)), written);
}

TEST(CloudAssets, CommitAllOrNothingWhenOneIsUnknown) {
  ScratchCloud cloud;
  Asset known = cloud.assets->put(bytesOf("abc"));
  Asset unknown{std::string(64, '0'), 3};
  EXPECT_EQ(codeThrownBy([&] {
              cloud.assets->commit({known, unknown});
            }),
            CloudError::Code::NoSuchAsset);
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "blobs"), 0u);
  Asset wrongSize{known.sha256, known.size + 1};
  EXPECT_EQ(codeThrownBy([&] { cloud.assets->commit({wrongSize}); }),
            CloudError::Code::NoSuchAsset);
  cloud.assets->commit({known});
  EXPECT_EQ(contentOf(*cloud.assets, known), "abc");
}

TEST(CloudAssets, LeaveNothingBehindWhenAnUploadIsDropped) {
  ScratchCloud cloud;
  {
    auto upload = cloud.assets->upload();
    upload->write(bytesOf("half a"));
    EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 1u);
  }
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 0u);
}

TEST(CloudAssets, LeaveNothingBehindWhenTheyAreNeverCommitted) {
  ScratchCloud cloud;
  cloud.assets->put(bytesOf("abc"));
  cloud.database.reset();
  cloud.assets.reset();
  cloud.service.reset();
  EXPECT_TRUE(fs::is_empty(cloud.folder.cloud() / "staging"));
}

TEST(CloudAssets, RefuseToGoOnWithAFinishedUpload) {
  ScratchCloud cloud;
  auto upload = cloud.assets->upload();
  upload->write(bytesOf("abc"));
  Asset asset = upload->finish();
  EXPECT_EQ(codeThrownBy([&] { upload->write(bytesOf("d")); }), CloudError::Code::InvalidArgument);
  EXPECT_EQ(codeThrownBy([&] { (void)upload->finish(); }), CloudError::Code::InvalidArgument);
  cloud.assets->commit({asset});
  EXPECT_EQ(contentOf(*cloud.assets, asset), "abc");
}

TEST(CloudAssets, ThatLostBytesAreCorruptAndReplacedByANewUpload) {
  ScratchCloud cloud;
  Asset asset = cloud.assets->put(bytesOf("abc"));
  cloud.assets->commit({asset});
  fs::resize_file(blobOf(cloud, asset), 1);
  EXPECT_EQ(codeThrownBy([&] { (void)cloud.assets->download(asset, 0); }),
            CloudError::Code::Corrupt);
  cloud.assets->put(bytesOf("abc"));
  cloud.assets->commit({asset});
  EXPECT_EQ(contentOf(*cloud.assets, asset), "abc");
}

TEST(CloudAssets, AreNotLookedForOutsideTheStore) {
  ScratchCloud cloud;
  std::ofstream(cloud.folder.cloud() / "blobs" / "secret") << "x";
  for (const std::string& hash : {std::string("../blobs/secret"), std::string(),
                                  std::string(64, '/'), std::string(64, 'A')}) {
    EXPECT_EQ(codeThrownBy([&] {
                (void)cloud.assets->download({hash, 1}, 0);
              }),
              CloudError::Code::NoSuchAsset);
    EXPECT_EQ(codeThrownBy([&] {
                cloud.assets->commit({{hash, 1}});
              }),
              CloudError::Code::NoSuchAsset);
  }
}

TEST(CloudAssets, AreUploadedAndCommittedByManyThreadsAtOnce) {
  ScratchCloud cloud;
  {
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&cloud, thread] {
        for (int index = 0; index < 50; ++index) {
          // Every other one is the same in all threads.
          std::string content = std::to_string(index) + (index % 2 ? std::to_string(thread) : "");
          Asset asset;
          if (index % 3 == 0) {
            asset = cloud.assets->put(bytesOf(content));
          } else {
            auto upload = cloud.assets->upload();
            upload->write(bytesOf(content));
            asset = upload->finish();
          }
          cloud.assets->commit({asset});
          EXPECT_EQ(contentOf(*cloud.assets, asset), content);
        }
      });
    }
  }
  EXPECT_EQ(filesIn(cloud.folder.cloud() / "staging"), 0u);
}

}  // namespace
}  // namespace tessera
