#include "home/PublishedFile.h"

#include <atomic>
#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "home/Home.h"

namespace tessera {
namespace {

std::string newFile() {
  std::string folder = ::testing::TempDir() + "tessera-published-XXXXXX";
  EXPECT_NE(::mkdtemp(folder.data()), nullptr);
  return folder + "/state.json";
}

TEST(PublishedFile, IsAbsentUntilPublishedAndAfterItWasWithdrawn) {
  const std::string path = newFile();
  PublishedFile file(path);
  EXPECT_FALSE(file.read().has_value());
  publishFile(path, "one");
  EXPECT_EQ(file.read(), "one");
  withdrawFile(path);
  EXPECT_FALSE(file.read().has_value());
  withdrawFile(path);  // again is harmless
}

TEST(PublishedFile, SeesEveryReplacementAtTheNextRead) {
  const std::string path = newFile();
  PublishedFile file(path);
  for (int i = 0; i < 1000; ++i) {
    publishFile(path, std::to_string(i % 10));  // same size throughout
    ASSERT_EQ(file.read(), std::to_string(i % 10));
  }
  EXPECT_EQ(file.generation(), 1000U);
}

TEST(PublishedFile, CountsAGenerationOnlyForAChange) {
  const std::string path = newFile();
  PublishedFile file(path);
  publishFile(path, "x");
  (void)file.read();
  (void)file.read();
  EXPECT_EQ(file.generation(), 1U);
  withdrawFile(path);
  (void)file.read();
  EXPECT_EQ(file.generation(), 2U);
}

TEST(PublishedFile, NeverShowsAMixtureToConcurrentReaders) {
  const std::string path = newFile();
  const std::string first(5000, 'a');
  const std::string second(7000, 'b');
  publishFile(path, first);
  PublishedFile file(path);
  std::atomic<bool> stop{false};
  std::thread writer([&path, &first, &second, &stop] {
    for (int i = 0; i < 300; ++i) publishFile(path, i % 2 == 0 ? second : first);
    stop = true;
  });
  while (!stop) {
    const auto content = file.read();
    ASSERT_TRUE(content == first || content == second);
  }
  writer.join();
}

TEST(PublishedFile, SaysWhyItCannotBeWritten) {
  try {
    publishFile("/nonexistent-folder/file", "x");
    FAIL();
  } catch (const HomeError& failure) {
    EXPECT_NE(std::string(failure.what()).find("/nonexistent-folder/file"), std::string::npos);
  }
}

}  // namespace
}  // namespace tessera
