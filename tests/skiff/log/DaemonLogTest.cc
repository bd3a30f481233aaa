#include "skiff/log/DaemonLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace tessera {
namespace {

class DaemonLogFile : public testing::Test {
 protected:
  DaemonLogFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "log-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    _folder = pattern;
  }
  ~DaemonLogFile() override { std::filesystem::remove_all(_folder); }

  [[nodiscard]] std::filesystem::path file() const { return _folder / "skiff.log"; }
  static std::string contentOf(const std::filesystem::path& path) {
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::filesystem::path _folder;
};

TEST_F(DaemonLogFile, KeepsALineALine) {
  DaemonLog log(file());
  log.warning("one\ntwo\x1b[31m");
  std::string text = contentOf(file());
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
  EXPECT_NE(text.find("warning: one\\x0atwo\\x1b[31m"), std::string::npos);
}

TEST_F(DaemonLogFile, BeginsANewFileWhenFull) {
  DaemonLog log(file(), 300);
  for (int index = 0; index < 8; ++index) log.info(std::string(50, 'a' + index));
  EXPECT_LE(std::filesystem::file_size(file()), 300u);
  std::filesystem::path old = file();
  old += ".1";
  EXPECT_LE(std::filesystem::file_size(old), 300u);
  EXPECT_NE(contentOf(file()).find("hhhh"), std::string::npos);
}

TEST_F(DaemonLogFile, GoesOnWhereAnotherProcessLeftOff) {
  { DaemonLog(file()).info("first"); }
  { DaemonLog(file()).info("second"); }
  std::string text = contentOf(file());
  EXPECT_NE(text.find("first"), std::string::npos);
  EXPECT_NE(text.find("second"), std::string::npos);
}

TEST(DaemonLog, DropsWhatCannotBeWritten) {
  DaemonLog log("/nonexistent/folder/skiff.log");
  log.error("nobody reads this");
}

}  // namespace
}  // namespace tessera
