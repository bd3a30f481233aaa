#include "cloud/embedded/StagingArea.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <memory>

#include "ForkedProcess.h"
#include "ScratchCloud.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

std::ptrdiff_t entriesIn(const fs::path& folder) {
  return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(StagingArea, WritesNothingBeforeItsFirstFile) {
  ScratchFolder folder;
  StagingArea area(folder.path());
  EXPECT_EQ(entriesIn(folder.path()), 0);
  auto file = area.create();
  EXPECT_TRUE(file.descriptor.isOpen());
  EXPECT_EQ(entriesIn(folder.path()), 1);
}

TEST(StagingArea, SweepsWhatADeadProcessLeft) {
  ScratchFolder folder;
  BytePipe ready;
  ForkedProcess writer([&folder, &ready] {
    StagingArea area(folder.path());
    auto file = area.create();
    ready.send();
    for (;;) ::pause();
  });
  ASSERT_TRUE(ready.receive());
  {
    StagingArea whileItLives(folder.path());
    EXPECT_EQ(entriesIn(folder.path()), 1);
  }
  writer.kill();
  EXPECT_EQ(entriesIn(folder.path()), 1);
  StagingArea afterwards(folder.path());
  EXPECT_EQ(entriesIn(folder.path()), 0);
}

TEST(StagingArea, KeepsTheFilesOfAnotherInTheSameProcess) {
  ScratchFolder folder;
  StagingArea first(folder.path());
  auto file = first.create();
  StagingArea second(folder.path());
  EXPECT_EQ(entriesIn(folder.path()), 1);
  auto other = second.create();
  EXPECT_EQ(entriesIn(folder.path()), 2);
}

}  // namespace
}  // namespace tessera
