#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ImportScene.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

using Paths = std::vector<std::string>;

// File access of this thread, and of those it starts, as of somebody without privileges.
class AsNobody {
 public:
  AsNobody() {
    constexpr uid_t kNobody = 65534;
    ::setfsuid(kNobody);
  }
  ~AsNobody() { ::setfsuid(::geteuid()); }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;
};

void append(const fs::path& path, std::string_view text) {
  std::ofstream(path, std::ios::binary | std::ios::app) << text;
}

void makeSocket(const fs::path& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(path.string().size(), sizeof(address.sun_path));
  std::strcpy(address.sun_path, path.c_str());
  int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  ::close(socket);
}

TEST(SourceProblems, LeavesOutWhatIsNeitherFileNorFolder) {
  ImportScene scene;
  scene.file("folder/good", "good");
  fs::create_symlink("folder/good", scene.source() / "link to file");
  fs::create_directory_symlink("folder", scene.source() / "link to folder");
  fs::create_symlink("/nowhere", scene.source() / "folder/dangling");
  ASSERT_EQ(::mkfifo((scene.source() / "pipe").c_str(), 0600), 0);
  makeSocket(scene.source() / "socket");
  // A device of number 0:0 may be made by anybody.
  ASSERT_EQ(::mknod((scene.source() / "device").c_str(), S_IFCHR | 0600, 0), 0);
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"folder", "folder/good"}));
  EXPECT_EQ(report.leftOutCount, 6U);
  EXPECT_EQ(reasonFor(scene, report, "link to file"), "It is a symbolic link");
  EXPECT_EQ(reasonFor(scene, report, "link to folder"), "It is a symbolic link");
  EXPECT_EQ(reasonFor(scene, report, "folder/dangling"), "It is a symbolic link");
  EXPECT_EQ(reasonFor(scene, report, "pipe"), "It is a named pipe");
  EXPECT_EQ(reasonFor(scene, report, "socket"), "It is a socket");
  EXPECT_EQ(reasonFor(scene, report, "device"), "It is a device");
}

TEST(SourceProblems, LeavesOutNamesThatNoItemMayHave) {
  ImportScene scene;
  scene.file("bad-\xff-name", "x");
  scene.file(".tessera-mine", "x");
  scene.file("folder-\xc0\x80/good", "x");
  scene.file("good", "x");
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"good"}));
  EXPECT_EQ(report.leftOutCount, 3U);
  EXPECT_EQ(reasonFor(scene, report, "bad-\xff-name"), "A name must be valid UTF-8");
  EXPECT_EQ(reasonFor(scene, report, "folder-\xc0\x80"), "A name must be valid UTF-8");
  EXPECT_NE(reasonFor(scene, report, ".tessera-mine"), "");
}

TEST(SourceProblems, KeepsTheFirstThousandAndCountsAll) {
  ImportScene scene;
  for (int number = 0; number < 1100; ++number) {
    fs::create_symlink("x", scene.source() / ("link" + std::to_string(number)));
  }
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOut.size(), 1000U);
  EXPECT_EQ(report.leftOutCount, 1100U);
}

TEST(SourceProblems, LeavesOutWhatMayNotBeRead) {
  ScratchFolder folder;
  fs::create_directories(folder.path() / "closed");
  std::ofstream(folder.path() / "closed/inside") << "x";
  for (const char* name : {"secret", "open"}) std::ofstream(folder.path() / name) << name;
  fs::permissions(folder.path() / "closed", fs::perms::none);
  fs::permissions(folder.path() / "secret", fs::perms::none);
  {
    AsNobody nobody;
    ImportScene scene;
    CloudImporter importer(scene.database, scene.assets, scene.zone);
    ImportReport report = importer.importFolder(folder.path(), {}, {});
    EXPECT_EQ(scene.paths(), (Paths{"open"}));
    ASSERT_EQ(report.leftOut.size(), 2U);
    EXPECT_EQ(report.leftOut[0].path, (folder.path() / "closed").string());
    EXPECT_EQ(report.leftOut[0].reason, "The folder cannot be read: Permission denied");
    EXPECT_EQ(report.leftOut[1].path, (folder.path() / "secret").string());
    EXPECT_EQ(report.leftOut[1].reason, "It cannot be read: Permission denied");
    EXPECT_THROW(importer.importFolder(folder.path() / "closed", {}, {}), ImportRefused);
  }
  fs::permissions(folder.path() / "closed", fs::perms::owner_all);
}

TEST(SourceProblems, LeavesOutWhatVanishesBeforeItsTurn) {
  ImportScene scene;
  for (const char* path : {"a", "b", "c/inside", "d"}) scene.file(path, path);
  scene.progress = [&scene](const ImportProgress& progress) {
    if (progress.documents != 1) return;
    fs::remove(scene.source() / "b");
    fs::remove_all(scene.source() / "c");
  };
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"a", "d"}));
  EXPECT_EQ(report.leftOutCount, 2U);
  EXPECT_EQ(reasonFor(scene, report, "b"), "It cannot be read: No such file or directory");
  EXPECT_EQ(reasonFor(scene, report, "c"), "The folder cannot be read: No such file or directory");
}

TEST(SourceProblems, WaitsForNoPipeAndFollowsNoLinkThatTookAFilesPlace) {
  ImportScene scene;
  for (const char* path : {"a", "b", "c", "d/inside", "e"}) scene.file(path, path);
  ScratchFolder elsewhere;
  std::ofstream(elsewhere.path() / "secret") << "secret";
  scene.progress = [&scene, &elsewhere](const ImportProgress& progress) {
    if (progress.documents != 1 || !fs::is_regular_file(scene.source() / "b")) return;
    fs::remove(scene.source() / "b");
    ASSERT_EQ(::mkfifo((scene.source() / "b").c_str(), 0600), 0);
    fs::remove(scene.source() / "c");
    fs::create_symlink(elsewhere.path() / "secret", scene.source() / "c");
    fs::remove_all(scene.source() / "d");
    fs::create_directory_symlink(elsewhere.path(), scene.source() / "d");
  };
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"a", "e"}));
  EXPECT_EQ(report.leftOutCount, 3U);
  EXPECT_EQ(reasonFor(scene, report, "b"), "It was replaced by something that is no file");
}

TEST(SourceProblems, ReadsAFileAgainThatChangedWhileItWasRead) {
  ImportScene scene;
  const std::string content(3 << 20, 'x');
  fs::path file = scene.file("growing", content);
  int writes = 0;
  scene.assets.beforeWrite = [&file, &writes] {
    if (++writes == 2) append(file, "more");
  };
  ImportReport report = scene.import();
  EXPECT_EQ(report.leftOutCount, 0U);
  EXPECT_EQ(report.documents, 1U);
  EXPECT_TRUE(scene.content("growing") == content + "more");
}

TEST(SourceProblems, LeavesOutAFileThatGrowsEachTimeItIsRead) {
  ImportScene scene;
  fs::path file = scene.file("growing", std::string(3 << 20, 'x'));
  scene.file("z", "z");
  int uploads = 0;
  scene.assets.beforeUpload = [&uploads] { ++uploads; };
  scene.assets.beforeWrite = [&file] { append(file, std::string(2 << 20, 'y')); };
  ImportReport report = scene.import();
  EXPECT_EQ(reasonFor(scene, report, "growing"), "It changed while it was read, twice");
  EXPECT_EQ(uploads, 2);
  EXPECT_EQ(scene.paths(), (Paths{"z"}));
}

TEST(SourceProblems, LeavesOutAFileThatIsOverwrittenInPlaceEachTimeItIsRead) {
  ImportScene scene;
  fs::path file = scene.file("rewritten", std::string(3 << 20, 'x'));
  auto start = fs::last_write_time(file);
  int count = 0;
  scene.assets.beforeWrite = [&file, &start, &count] {
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary) << "same length";
    fs::last_write_time(file, start + std::chrono::seconds(++count));
  };
  ImportReport report = scene.import();
  EXPECT_EQ(reasonFor(scene, report, "rewritten"), "It changed while it was read, twice");
  EXPECT_TRUE(scene.items().empty());
}

TEST(SourceProblems, LeavesOutAFileThatIsCutWhileItIsRead) {
  ImportScene scene;
  fs::path file = scene.file("shrinking", std::string(6 << 20, 'x'));
  scene.assets.beforeWrite = [&file] { fs::resize_file(file, fs::file_size(file) - (1 << 20)); };
  ImportReport report = scene.import();
  EXPECT_EQ(reasonFor(scene, report, "shrinking"), "It changed while it was read, twice");
}

TEST(SourceProblems, LeavesOutSmallFilesThatDoNotHoldWhatTheirSizeSays) {
  // Files of the kernel have a size of zero and content all the same.
  ImportScene scene;
  CloudImporter importer(scene.database, scene.assets, scene.zone);
  ImportReport report = importer.importFolder("/proc/sys/fs/epoll", {}, {});
  EXPECT_EQ(report.documents, 0U);
  ASSERT_EQ(report.leftOut.size(), 1U);
  EXPECT_EQ(report.leftOut[0].path, "/proc/sys/fs/epoll/max_user_watches");
  EXPECT_EQ(report.leftOut[0].reason, "It changed while it was read, twice");
}

TEST(SourceProblems, LeavesOutFoldersOfTheSystemItself) {
  ImportScene scene;
  scene.file("good", "x");
  scene.file("home/cloud/blob", "x");
  scene.file("home/good", "x");
  scene.excluded = {*FileIdentity::of(scene.source() / "home/cloud")};
  ImportReport report = scene.import();
  EXPECT_EQ(scene.paths(), (Paths{"good", "home", "home/good"}));
  EXPECT_EQ(reasonFor(scene, report, "home/cloud"), "It holds this system's own files");
}

TEST(SourceProblems, RefusesAFolderInOneOfTheSystemItself) {
  ImportScene scene;
  scene.file("home/cloud/blobs/blob", "x");
  scene.excluded = {*FileIdentity::of(scene.source() / "home")};
  CloudImporter importer(scene.database, scene.assets, scene.zone, scene.excluded);
  fs::create_directory_symlink(scene.source() / "home/cloud", scene.source() / "link");
  for (const char* path : {"home", "home/cloud/blobs", "link", "home/cloud/../cloud"}) {
    EXPECT_THROW(importer.importFolder(scene.source() / path, {}, {}), ImportRefused) << path;
  }
  EXPECT_EQ(FileIdentity::of(scene.source() / "nowhere"), std::nullopt);
}

TEST(SourceProblems, DoesNotSwallowTheCloudItWritesInto) {
  ImportScene scene;
  scene.excluded = {*FileIdentity::of(scene.cloudFolder())};
  CloudImporter importer(scene.database, scene.assets, scene.zone, scene.excluded);
  EXPECT_THROW(importer.importFolder(scene.cloudFolder(), {}, {}), ImportRefused);
}

}  // namespace
}  // namespace tessera
