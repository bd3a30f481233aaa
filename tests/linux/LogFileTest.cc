#include "linux/LogFile.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/linux/ScratchHome.h"

namespace tessera {
namespace {

std::vector<std::string> linesOf(const std::filesystem::path& file) {
  std::ifstream input(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(input, line);) lines.push_back(line);
  return lines;
}

class LogFileTest : public ::testing::Test {
 protected:
  std::filesystem::path file() const { return _scratch.home.extensionLog(); }
  std::filesystem::path aside() const { return file().string() + ".1"; }

  ScratchHome _scratch;
};

TEST_F(LogFileTest, AppendsOneLineARecordEvenIfItsTextHasSeveral) {
  LogFile log(file());
  log.write("tessera.client", LogType::Error, "first\nstill first");
  log.write("tessera.client", LogType::Debug, "second");
  const auto lines = linesOf(file());
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].ends_with(" error tessera.client first\\nstill first")) << lines[0];
  EXPECT_TRUE(lines[1].ends_with(" debug tessera.client second")) << lines[1];
  EXPECT_NE(lines[0].find(" " + std::to_string(::getpid()) + " "), std::string::npos);
  EXPECT_EQ(std::filesystem::status(file()).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(LogFileTest, MovesAFullFileAsideAndKeepsOneOfThem) {
  LogFile log(file(), 200);
  for (char c = 'a'; c < 'g'; ++c) log.write("s", LogType::Info, std::string(150, c));
  const auto now = linesOf(file());
  const auto before = linesOf(aside());
  ASSERT_EQ(now.size(), 2U);
  ASSERT_EQ(before.size(), 2U);
  EXPECT_TRUE(now[1].ends_with(std::string(150, 'f')));
  EXPECT_TRUE(before[1].ends_with(std::string(150, 'd')));
  EXPECT_FALSE(std::filesystem::exists(file().string() + ".2"));
}

TEST_F(LogFileTest, FollowsWhenAnotherProcessMovedTheFileAside) {
  LogFile first(file(), 200);
  LogFile second(file(), 200);
  first.write("s", LogType::Info, "opens the file");
  second.write("s", LogType::Info, std::string(200, 'x'));  // fills it
  second.write("s", LogType::Info, "moved it");
  first.write("s", LogType::Info, "followed");
  const auto lines = linesOf(file());
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].ends_with("moved it"));
  EXPECT_TRUE(lines[1].ends_with("followed"));
  EXPECT_EQ(linesOf(aside()).size(), 2U);
}

TEST_F(LogFileTest, GoesOnAfterTheFileWasRemovedOrCouldNotBeMade) {
  LogFile log(file());
  log.write("s", LogType::Info, "gone");
  std::filesystem::remove(file());
  log.write("s", LogType::Info, "anew");
  EXPECT_EQ(linesOf(file()).size(), 1U);
  std::filesystem::remove_all(_scratch.home.log());
  log.write("s", LogType::Info, "lost");
  std::filesystem::create_directory(_scratch.home.log());
  log.write("s", LogType::Info, "back");
  const auto lines = linesOf(file());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_TRUE(lines[0].ends_with("back"));
}

TEST_F(LogFileTest, LosesNoLineOfManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kLines = 500;
  {
    LogFile log(file());
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&log] {
        for (int i = 0; i < kLines; ++i) log.write("s", LogType::Info, std::string(90, 'z'));
      });
    }
    for (auto& thread : threads) thread.join();
  }
  const auto lines = linesOf(file());
  ASSERT_EQ(lines.size(), std::size_t{kThreads} * kLines);
  for (const auto& line : lines) ASSERT_TRUE(line.ends_with(" s " + std::string(90, 'z'))) << line;
}

TEST_F(LogFileTest, KeepsWholeLinesWhileManyThreadsFillFiles) {
  {
    LogFile log(file(), 20'000);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&log] {
        for (int i = 0; i < 1000; ++i) log.write("s", LogType::Info, std::string(90, 'z'));
      });
    }
    for (auto& thread : threads) thread.join();
  }
  EXPECT_GT(linesOf(aside()).size(), 100U);
  for (const auto& each : {file(), aside()}) {
    for (const auto& line : linesOf(each)) ASSERT_TRUE(line.ends_with(std::string(90, 'z')));
  }
}

}  // namespace
}  // namespace tessera
