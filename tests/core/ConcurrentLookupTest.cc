#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "core/GVFileProviderExtension.h"
#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "tests/support/extension/ExtensionWorld.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 50;

void onManyThreads(const std::function<void()>& work) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
}

TEST(ConcurrentLookup, GivesAllThreadsOneRootURLFromOneLookup) {
  ExtensionWorld world;
  world.library.putContainer(GVUbiquitousDefaultContainerID,
                             NSURL::fileURLWithPath("/tree/documents"));
  const auto extension = GVFileProviderExtension::create();
  std::mutex lock;
  std::set<NSURLPtr> urls;
  onManyThreads([&lock, &urls, &extension] {
    for (int i = 0; i < kRounds; ++i) {
      const auto url =
          extension->URLForItemWithPersistentIdentifier(NSFileProviderRootContainerItemIdentifier);
      const std::lock_guard held(lock);
      urls.insert(url);
    }
  });
  EXPECT_EQ(1U, urls.size());
  EXPECT_FALSE(urls.contains(nullptr));
  EXPECT_EQ(1U, world.calls->count("containers.all"));
}

TEST(ConcurrentLookup, AnswersBothDirectionsAndClosesEverySection) {
  ExtensionWorld world;
  world.library.putDocumentURL(sampleID(1), NSURL::fileURLWithPath("/tree/a"));
  world.library.putItem("/tree/a", sampleItem(1));
  const auto identifier = sampleID(1).asString();
  const auto extension = GVFileProviderExtension::create();
  onManyThreads([&extension, &identifier] {
    for (int i = 0; i < kRounds; ++i) {
      NSErrorPtr error;
      const auto item = extension->itemForIdentifier(identifier, &error);
      EXPECT_EQ(identifier, item->itemIdentifier());
      EXPECT_EQ(nullptr, error);
      EXPECT_EQ(identifier,
                extension->persistentIdentifierForItemAtURL(NSURL::fileURLWithPath("/tree/a")));
    }
  });
  std::multiset<std::string> opened;
  std::multiset<std::string> closed;
  for (const std::string& line : world.logged()) {
    const std::string glyph = line.substr(8, 3);
    const std::string section = line.substr(11, line.find(' ', 11) - 11);
    if (glyph == "┏") opened.insert(section);
    if (glyph == "┗") closed.insert(section);
  }
  constexpr std::size_t kSections = std::size_t{5} * kThreads * kRounds;
  EXPECT_EQ(kSections, opened.size());
  EXPECT_EQ(opened, closed);
  EXPECT_EQ(kSections, std::set<std::string>(opened.begin(), opened.end()).size());
}

}  // namespace
}  // namespace tessera
