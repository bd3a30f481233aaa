#include "home/Home.h"

#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "home/HomeConfig.h"
#include "home/PublishedState.h"

namespace tessera {
namespace {

std::string makeFolder() {
  std::string folder = ::testing::TempDir() + "tessera-home-XXXXXX";
  EXPECT_NE(::mkdtemp(folder.data()), nullptr);
  return folder;
}

TEST(Home, PutsEverythingBelowTesseraHome) {
  ::setenv("TESSERA_HOME", "/somewhere/else/", 1);
  const Home home = Home::fromEnvironment();
  EXPECT_EQ(home.tree(), "/somewhere/else/tree");
  EXPECT_EQ(home.skiffSocket(), "/somewhere/else/run/skiff.sock");
  EXPECT_EQ(home.defaultCloud(), "/somewhere/else/cloud");
}

TEST(Home, FollowsTheBaseDirectoriesWithoutTesseraHome) {
  ::unsetenv("TESSERA_HOME");
  ::setenv("HOME", "/home/ada", 1);
  ::unsetenv("XDG_STATE_HOME");
  ::unsetenv("XDG_DATA_HOME");
  ::setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  const Home home = Home::fromEnvironment();
  EXPECT_EQ(home.tree(), "/home/ada/Tessera");
  EXPECT_EQ(home.state(), "/home/ada/.local/state/tessera");
  EXPECT_EQ(home.run(), "/run/user/7/tessera");
  EXPECT_EQ(home.defaultCloud(), "/home/ada/.local/share/tessera-cloud");
}

TEST(Home, RefusesARelativePath) {
  ::setenv("TESSERA_HOME", "here", 1);
  EXPECT_THROW((void)Home::fromEnvironment(), HomeError);
}

TEST(Home, MakesPrivateFoldersAndAPublicTree) {
  const Home home = Home::at(makeFolder() + "/new");
  EXPECT_FALSE(home.exists());
  home.create();
  EXPECT_TRUE(home.exists());
  struct stat status {};
  ASSERT_EQ(::stat(home.run().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0700U);
  home.create();  // again is harmless
}

TEST(HomeConfig, ComesBackAsItWasSaved) {
  const Home home = Home::at(makeFolder());
  home.create();
  EXPECT_FALSE(HomeConfig::load(home).has_value());
  HomeConfig{"/cloud/with \"quotes\""}.save(home);
  EXPECT_EQ(HomeConfig::load(home)->cloudUrl, "/cloud/with \"quotes\"");
}

TEST(HomeConfig, RefusesANewerFormatAndLeavesItAlone) {
  const Home home = Home::at(makeFolder());
  home.create();
  const std::string newer = R"({"format": 99, "cloud": "/c"})";
  std::ofstream(home.configFile()) << newer;
  EXPECT_THROW((void)HomeConfig::load(home), HomeError);
  std::ifstream file(home.configFile());
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), newer);
}

TEST(HomeConfig, RefusesABrokenFile) {
  const Home home = Home::at(makeFolder());
  home.create();
  std::ofstream(home.configFile()) << "{ not json";
  EXPECT_THROW((void)HomeConfig::load(home), HomeError);
}

TEST(PublishedState, AccountsAndContainersComeBack) {
  const auto account = PublishedAccount::fromJson(PublishedAccount{"ada", "id-1"}.toJson());
  EXPECT_EQ(account.name, "ada");
  EXPECT_EQ(account.perAppAccountIdentifier, "id-1");
  EXPECT_FALSE(PublishedAccount::fromJson(PublishedAccount{"ada", std::nullopt}.toJson())
                   .perAppAccountIdentifier);
  const std::vector<PublishedContainer> containers{{"c.one", "One", "One", "0-1"}};
  EXPECT_EQ(containersFromJson(containersToJson(containers)), containers);
}

TEST(PublishedState, RefusesTextOfAnotherKind) {
  EXPECT_THROW((void)PublishedAccount::fromJson("[]"), HomeError);
  EXPECT_THROW((void)PublishedAccount::fromJson(R"({"format":1,"name":7})"), HomeError);
  EXPECT_THROW((void)containersFromJson(R"({"format":2,"containers":[]})"), HomeError);
}

}  // namespace
}  // namespace tessera
