#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <thread>
#include <vector>

#include "EnumeratorUnderTest.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

constexpr std::uint64_t kPushers = 4;
constexpr std::uint64_t kPushes = 300;

TEST(ConcurrentChanges, DeliverEveryPushExactlyOnce) {
  ExtensionWorld world;
  const EnumeratorUnderTest folder(world);
  auto anchor = folder.anchor();
  std::atomic<std::uint64_t> running{kPushers};
  std::vector<std::thread> pushers;
  for (std::uint64_t p = 0; p < kPushers; ++p) {
    pushers.emplace_back([p, &folder, &running] {
      for (std::uint64_t i = 0; i < kPushes; ++i) {
        const std::uint64_t number = p * kPushes + i;
        folder.push({number % 2 == 0 ? sampleItem(number) : sampleDeadItem(number)});
      }
      --running;
    });
  }
  std::map<std::string, int> delivered;
  const auto take = [&folder, &anchor, &delivered] {
    const auto batch = folder.changes(anchor);
    ASSERT_EQ(nullptr, batch.error);
    for (const auto& item : batch.updated) ++delivered[item->itemIdentifier()];
    for (const auto& identifier : batch.deleted) ++delivered[identifier];
    anchor = batch.anchor;
  };
  while (running > 0) take();
  for (std::thread& pusher : pushers) pusher.join();
  take();
  EXPECT_EQ(kPushers * kPushes, delivered.size());
  for (const auto& [identifier, times] : delivered) EXPECT_EQ(1, times) << identifier;
}

TEST(ConcurrentChanges, AreExpiredOrDeliveredWhileGenerationsChange) {
  ExtensionWorld world;
  auto root = EnumeratorUnderTest::ofTheRoot(world);
  root.settle();  // observes from now on
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  threads.emplace_back([&root, &stop] {
    for (std::uint64_t i = 0; !stop; ++i) root.push({sampleItem(i % 7), sampleDeadItem(i % 5)});
  });
  threads.emplace_back([&stop] {
    while (!stop) {
      auto& center = NSNotificationCenter::defaultCenter();
      center.postNotification(GVContainerListDidChangeNotification);
      center.postNotification(GVAccountTokenDidChangeNotification);
    }
  });
  threads.emplace_back([&root, &stop] {
    while (!stop) EXPECT_EQ(24U, root.anchor()->length());
  });
  int expired = 0;
  int answered = 0;
  auto anchor = root.anchor();
  while (expired < 20 || answered < 20) {
    const auto batch = root.changes(anchor);
    if (batch.error) {
      EXPECT_EQ(-1002, batch.error->code());
      ++expired;
      anchor = root.anchor();
    } else {
      ++answered;
      anchor = batch.anchor;
    }
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

TEST(ConcurrentChanges, SetUpFailAndEndWithoutAnswerLost) {
  ExtensionWorld world;
  EnumeratorUnderTest folder(world);
  constexpr int kListings = 100;
  std::atomic<bool> stop{false};
  std::thread daemon([&world, &folder] {
    for (int i = 0; i < kListings; ++i) {
      const auto sender = folder.connect();
      EXPECT_TRUE(sender->triggerError(1, gvc_errorLoggedOut()));
      folder.settle();
    }
  });
  std::thread accounts([&stop] {
    while (!stop) {
      NSNotificationCenter::defaultCenter().postNotification(GVAccountTokenDidChangeNotification);
    }
  });
  daemon.join();
  stop = true;
  accounts.join();
  EXPECT_EQ(static_cast<std::size_t>(kListings),
            world.calls->count("sender.proxy2.watch(/tree/folder, 19)"));
}

}  // namespace
}  // namespace tessera
