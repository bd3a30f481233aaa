#include "skiff/importer/SourceWalk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "ImportScene.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

std::size_t openDescriptors() {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

// Writes down what it is told.
class Listener final : public SourceVisitor {
 public:
  std::function<void(const std::string&)> onFile;
  Lines lines;
  std::size_t depth = 0;
  std::size_t deepest = 0;
  std::size_t mostDescriptors = 0;

  bool enterFolder(const SourceFolder&, const std::string& name) override {
    lines.push_back("+" + name);
    deepest = std::max(deepest, ++depth);
    mostDescriptors = std::max(mostDescriptors, openDescriptors());
    return true;
  }
  void leaveFolder() override {
    lines.push_back("-");
    --depth;
  }
  void visitFile(int folder, const std::string& name) override {
    EXPECT_EQ(::faccessat(folder, name.c_str(), F_OK, 0), 0) << name;
    lines.push_back(name);
    if (onFile) onFile(name);
  }
  void leaveOut(const std::string& name, const std::string& reason) override {
    lines.push_back("!" + name + ": " + reason);
  }
};

// A chain of `depth` folders "d", each with a file before and one after the next folder.
void makeChain(const fs::path& top, std::size_t depth) {
  fs::path old = fs::current_path();
  fs::current_path(top);
  for (std::size_t level = 0; level < depth; ++level) {
    fs::create_directory("d");
    fs::current_path("d");
    for (const char* name : {"a", "z"}) {
      int file = ::open(name, O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
      ASSERT_GE(file, 0);
      ::close(file);
    }
  }
  fs::current_path(old);
}

TEST(SourceWalk, GoesDepthFirstInTheOrderOfNames) {
  ImportScene scene;
  for (const char* path : {"b/2", "b/1/x", "a", "c", "B"}) scene.file(path, "");
  Listener listener;
  EXPECT_TRUE(SourceWalk({}, listener).run(scene.source(), {}));
  EXPECT_EQ(listener.lines, (Lines{"B", "a", "+b", "+1", "x", "-", "2", "-", "c"}));
}

TEST(SourceWalk, ReachesTheEndOfADeepTreeWithFewDescriptors) {
  constexpr std::size_t kDepth = 2100;  // paths far longer than the kernel takes
  ImportScene scene;
  makeChain(scene.source(), kDepth);
  Listener listener;
  std::size_t before = openDescriptors();
  EXPECT_TRUE(SourceWalk({}, listener).run(scene.source(), {}));
  EXPECT_EQ(listener.deepest, kDepth);
  EXPECT_EQ(std::count(listener.lines.begin(), listener.lines.end(), "a"), kDepth);
  EXPECT_EQ(std::count(listener.lines.begin(), listener.lines.end(), "z"), kDepth);
  EXPECT_EQ(listener.lines.size(), 4 * kDepth);
  EXPECT_LE(listener.mostDescriptors, before + SourceWalk::kMostOpenFolders + 4);
  EXPECT_EQ(openDescriptors(), before);
}

// A chain that is deeper than the walk keeps open, and what is done to its two last folders
// while the walk is in the last one.
class BreakingChain {
 public:
  static constexpr std::size_t kDepth = SourceWalk::kMostOpenFolders + 10;

  explicit BreakingChain(std::function<void()> breakIt) {
    makeChain(top(), kDepth);
    listener.onFile = [this, breakIt = std::move(breakIt)](const std::string& name) {
      if (name == "a" && ++_files == kDepth) breakIt();
    };
  }
  [[nodiscard]] const fs::path& top() const { return _scene.source(); }
  [[nodiscard]] fs::path folder(std::size_t depth) const {
    fs::path path = top();
    for (std::size_t level = 0; level < depth; ++level) path /= "d";
    return path;
  }
  [[nodiscard]] std::size_t count(const std::string& line) const {
    return static_cast<std::size_t>(std::count(listener.lines.begin(), listener.lines.end(), line));
  }

  Listener listener;

 private:
  ImportScene _scene;
  std::size_t _files = 0;
};

const char* const kGone = "!d: It was moved or removed while it was read; its rest is missing";

TEST(SourceWalk, ReadsFoldersToTheirEndThatWereMovedMeanwhile) {
  for (std::size_t moved : {std::size_t{0}, std::size_t{5}}) {
    BreakingChain* current = nullptr;
    BreakingChain chain([&current, moved] {
      fs::rename(current->folder(BreakingChain::kDepth - moved), current->top() / "zz-moved");
    });
    current = &chain;
    EXPECT_TRUE(SourceWalk({}, chain.listener).run(chain.top(), {}));
    EXPECT_EQ(chain.count(kGone), 0U);
    EXPECT_EQ(chain.count("z"), BreakingChain::kDepth);
  }
}

TEST(SourceWalk, SaysWhenAFolderItComesBackToIsGoneAndGoesOn) {
  for (bool replaced : {false, true}) {
    BreakingChain* current = nullptr;
    BreakingChain chain([&current, replaced] {
      fs::path last = current->folder(BreakingChain::kDepth);
      fs::rename(last, current->top() / "zz-last");
      fs::rename(last.parent_path(), current->top() / "zz-above");
      if (replaced) fs::create_directory(last.parent_path());
    });
    current = &chain;
    EXPECT_TRUE(SourceWalk({}, chain.listener).run(chain.top(), {}));
    EXPECT_EQ(chain.count(kGone), 1U);
    EXPECT_EQ(chain.count("z"), BreakingChain::kDepth - 1);
    EXPECT_EQ(chain.listener.depth, 0U);
  }
}

TEST(SourceWalk, StopsWhenItIsTold) {
  ImportScene scene;
  for (const char* path : {"a", "b", "c"}) scene.file(path, "");
  std::stop_source stop;
  Listener listener;
  listener.onFile = [&stop](const std::string& name) {
    if (name == "b") stop.request_stop();
  };
  EXPECT_FALSE(SourceWalk({}, listener).run(scene.source(), stop.get_token()));
  EXPECT_EQ(listener.lines, (Lines{"a", "b"}));
}

}  // namespace
}  // namespace tessera
