#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <stop_token>
#include <string>
#include <thread>

#include "ForkedProcess.h"
#include "ScratchCloud.h"

namespace tessera {
namespace {

// Far beyond the suite's own time limit. A waiter that is not woken looks again after
// half a minute all the same: rounds enough make that fail, too.
constexpr std::chrono::milliseconds kForever = std::chrono::hours(1);

TEST(WaitForChanges, ReturnsAtOnceWhenThereAreChanges) {
  ScratchCloud cloud;
  auto token = cloud.database->changes("", 10).token;
  cloud.database->modify({recordNamed("one")}, {}, SavePolicy::IfUnchanged);
  cloud.database->waitForChanges(token, kForever, {});
  cloud.database->waitForChanges("", kForever, {});
}

TEST(WaitForChanges, ReturnsAtOnceForATokenThatIsExpired) {
  ScratchCloud cloud;
  cloud.database->waitForChanges("garbage", kForever, {});
}

TEST(WaitForChanges, ReturnsWithoutChangesWhenTheTimeIsOver) {
  ScratchCloud cloud;
  auto token = cloud.database->changes("", 10).token;
  cloud.database->waitForChanges(token, std::chrono::milliseconds(1), {});
  cloud.database->waitForChanges(token, std::chrono::milliseconds(0), {});
  cloud.database->waitForChanges(token, std::chrono::milliseconds(-1), {});
  EXPECT_TRUE(cloud.database->changes(token, 10).changed.empty());
}

TEST(WaitForChanges, EndsWhenItIsStopped) {
  ScratchCloud cloud;
  auto token = cloud.database->changes("", 10).token;
  for (int round = 0; round < 20; ++round) {
    std::promise<void> begun;
    std::jthread waiter([&cloud, &token, &begun](std::stop_token stop) {
      begun.set_value();
      cloud.database->waitForChanges(token, kForever, stop);
    });
    begun.get_future().wait();
    // Some work, more with each round, so that the waiter is stopped earlier and later.
    for (int index = 0; index < 20 * round; ++index) (void)cloud.service->containersVersion();
    waiter.request_stop();
  }
  std::stop_source stopped;
  stopped.request_stop();
  cloud.database->waitForChanges(token, kForever, stopped.get_token());
}

TEST(WaitForChanges, WakesForASaveOfAnotherThread) {
  ScratchCloud cloud;
  auto token = cloud.database->changes("", 10).token;
  for (int round = 0; round < 50; ++round) {
    auto seen = std::async(std::launch::async, [&cloud, &token] {
      cloud.database->waitForChanges(token, kForever, {});
      return cloud.database->changes(token, 10);
    });
    cloud.database->modify({recordNamed(std::to_string(round))}, {}, SavePolicy::IfUnchanged);
    auto page = seen.get();
    ASSERT_EQ(page.changed.size(), 1u);
    token = page.token;
  }
}

TEST(WaitForChanges, WakesForASaveOfAnotherProcess) {
  ScratchFolder folder;
  BytePipe toChild;
  BytePipe toParent;
  ForkedProcess waiter([&folder, &toChild, &toParent] {
    // The parent makes the cloud, so that it is the only one that writes.
    if (!toChild.receive()) throw std::runtime_error("no parent");
    auto service = openCloudService(folder.cloud(), OpenCloud::Existing);
    auto database = service->privateDatabase("ann");
    ChangeToken token = database->changes("", 10).token;
    for (int round = 0; round < 20; ++round) {
      toParent.send();
      database->waitForChanges(token, kForever, {});
      auto page = database->changes(token, 10);
      if (page.changed.size() != 1) throw std::runtime_error("woken without a change");
      token = page.token;
    }
    toParent.send();
  });
  auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  service->makeAccount("ann");
  auto database = service->privateDatabase("ann");
  toChild.send();
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(toParent.receive());
    database->modify({recordNamed(std::to_string(round))}, {}, SavePolicy::IfUnchanged);
  }
  ASSERT_TRUE(toParent.receive());
  EXPECT_EQ(waiter.wait(), 0);
}

TEST(WaitForChanges, WakesForAChangedListOfContainers) {
  ScratchCloud cloud;
  auto token = cloud.database->changes("", 10).token;
  std::promise<void> woken;
  std::jthread waiter([&cloud, &token, &woken] {
    cloud.database->waitForChanges(token, kForever, {});
    woken.set_value();
  });
  // A change from before the wait began counts as known, so there is one after another
  // until the waiter has seen one.
  auto seen = woken.get_future();
  for (int index = 0; seen.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
       ++index) {
    cloud.service->putContainer({"com.example.notes", "Notes " + std::to_string(index), {}});
  }
}

}  // namespace
}  // namespace tessera
