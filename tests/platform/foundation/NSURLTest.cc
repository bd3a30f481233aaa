#include "platform/foundation/NSURL.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "Described.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

class ScratchFolder {
 public:
  ScratchFolder() : _path(fs::temp_directory_path() / "tessera-url-XXXXXX") {
    std::string name = _path.string();
    if (::mkdtemp(name.data()) == nullptr) std::abort();
    _path = fs::canonical(name);
  }
  ~ScratchFolder() { fs::remove_all(_path); }
  [[nodiscard]] const fs::path& path() const { return _path; }

 private:
  fs::path _path;
};

TEST(NSURL, NormalisesPathsByTheirTextAlone) {
  const std::pair<const char*, const char*> kTable[] = {
      {"/", "/"},
      {"//", "/"},
      {"/a/b", "/a/b"},
      {"/a/b/", "/a/b"},
      {"//a///b//", "/a/b"},
      {"/a/./b/.", "/a/b"},
      {"/a/b/../c", "/a/c"},
      {"/a/b/..", "/a"},
      {"/a/..", "/"},
      {"/..", "/"},
      {"/../../a", "/a"},
      {"/a/.hidden/..b/c..", "/a/.hidden/..b/c.."},
      {"/a b/\xC3\xA9", "/a b/\xC3\xA9"},
  };
  for (const auto& [given, expected] : kTable) {
    EXPECT_EQ(NSURL::fileURLWithPath(given)->path(), expected) << given;
  }
}

TEST(NSURL, TakesRelativePathsFromTheCurrentDirectory) {
  const ScratchFolder folder;
  fs::current_path(folder.path());
  EXPECT_EQ(NSURL("a/../b").path(), (folder.path() / "b").string());
  EXPECT_EQ(NSURL("").path(), folder.path().string());
  EXPECT_EQ(NSURL("..").path(), folder.path().parent_path().string());
  fs::current_path("/");
  EXPECT_EQ(NSURL("a").path(), "/a");
  EXPECT_EQ(NSURL("..").path(), "/");
}

TEST(NSURL, NamesTheLastComponent) {
  EXPECT_EQ(NSURL("/a/b.txt").lastPathComponent(), "b.txt");
  EXPECT_EQ(NSURL("/a/").lastPathComponent(), "a");
  EXPECT_EQ(NSURL("/").lastPathComponent(), "/");
}

TEST(NSURL, AppendsAndDeletesComponents) {
  EXPECT_EQ(NSURL("/a").URLByAppendingPathComponent("b c")->path(), "/a/b c");
  EXPECT_EQ(NSURL("/").URLByAppendingPathComponent("b")->path(), "/b");
  EXPECT_EQ(NSURL("/a/b").URLByDeletingLastPathComponent()->path(), "/a");
  EXPECT_EQ(NSURL("/a").URLByDeletingLastPathComponent()->path(), "/");
  EXPECT_EQ(NSURL("/").URLByDeletingLastPathComponent(), nullptr);
}

TEST(NSURL, KeepsMarksOnTheObjectAndItsCopies) {
  const auto marked = NSURL::fileURLWithPath("/a");
  marked->setResourceMark("mark");
  EXPECT_TRUE(marked->hasResourceMark("mark"));
  EXPECT_FALSE(marked->hasResourceMark("other"));
  const auto copied = marked->copy();
  EXPECT_TRUE(copied->hasResourceMark("mark"));
  copied->setResourceMark("other");
  EXPECT_FALSE(marked->hasResourceMark("other"));
  EXPECT_FALSE(NSURL::fileURLWithPath("/a")->hasResourceMark("mark"));
  EXPECT_FALSE(marked->URLByAppendingPathComponent("b")->hasResourceMark("mark"));
}

TEST(NSURL, ComparesByPath) {
  const auto url = NSURL::fileURLWithPath("/a/b");
  url->setResourceMark("mark");
  EXPECT_TRUE(url->isEqual(NSURL("/a/./b/")));
  EXPECT_FALSE(url->isEqual(NSURL("/a/B")));
}

TEST(NSURL, EncodesWhatRfc3986DoesNotAllowInAPath) {
  EXPECT_EQ(NSURL("/").absoluteString(), "file:///");
  EXPECT_EQ(NSURL("/a-Z0._~").absoluteString(), "file:///a-Z0._~");
  EXPECT_EQ(NSURL("/!$&'()*+,;=:@").absoluteString(), "file:///!$&'()*+,;=:@");
  EXPECT_EQ(NSURL("/50% of é#?[]\"<>\\^`{|}\x7F\n").absoluteString(),
            "file:///50%25%20of%20%C3%A9%23%3F%5B%5D%22%3C%3E%5C%5E%60%7B%7C%7D%7F%0A");
  EXPECT_EQ(described(NSURL("/a b")), "file:///a%20b");
}

TEST(NSURL, ReachesFilesFoldersAndLinksThatLeadNowhere) {
  const ScratchFolder folder;
  const NSURL root(folder.path().string());
  std::ofstream(folder.path() / "file") << "content";
  fs::create_symlink("nowhere", folder.path() / "link");
  NSErrorPtr error;
  EXPECT_TRUE(root.checkResourceIsReachableAndReturnError(&error));
  EXPECT_TRUE(
      root.URLByAppendingPathComponent("file")->checkResourceIsReachableAndReturnError(&error));
  EXPECT_TRUE(
      root.URLByAppendingPathComponent("link")->checkResourceIsReachableAndReturnError(&error));
  EXPECT_EQ(error, nullptr);
}

TEST(NSURL, SaysWhyItCannotBeReached) {
  const ScratchFolder folder;
  std::ofstream(folder.path() / "file") << "content";
  const std::pair<std::string, int> kTable[] = {{"absent", ENOENT}, {"file/below", ENOTDIR}};
  for (const auto& [name, posixCode] : kTable) {
    const NSURL url((folder.path() / name).string());
    EXPECT_FALSE(url.checkResourceIsReachableAndReturnError(nullptr));
    NSErrorPtr error;
    EXPECT_FALSE(url.checkResourceIsReachableAndReturnError(&error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
    EXPECT_EQ(error->code(), NSFileReadNoSuchFileError);
    EXPECT_EQ(std::get<std::string>(error->userInfo().at(NSFilePathErrorKey)), url.path());
    ASSERT_NE(error->underlyingError(), nullptr);
    EXPECT_EQ(error->underlyingError()->domain(), NSPOSIXErrorDomain);
    EXPECT_EQ(error->underlyingError()->code(), posixCode);
  }
}

TEST(NSURL, TellsAnUnreadableNameFromAnAbsentOne) {
  const NSURL url("/" + std::string(300, 'n'));  // longer than a name may be
  NSErrorPtr error;
  EXPECT_FALSE(url.checkResourceIsReachableAndReturnError(&error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), NSFileReadUnknownError);
  EXPECT_EQ(error->underlyingError()->code(), ENAMETOOLONG);
}

}  // namespace
}  // namespace tessera
