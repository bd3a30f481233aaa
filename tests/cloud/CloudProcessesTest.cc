#include <gtest/gtest.h>
#include <sched.h>

#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ForkedProcess.h"
#include "ScratchCloud.h"
#include "cloud/embedded/Sha256.h"
#include "sqlite/Database.h"

namespace tessera {
namespace {

// Saves a new record with an asset of its own and deletes the one before the last,
// over and over; says after each round that it was acknowledged.
void writeUntilKilled(const std::filesystem::path& folder, const std::string& prefix,
                      const BytePipe& acknowledged, int rounds) {
  auto service = openCloudService(folder, OpenCloud::CreateIfMissing);
  service->makeAccount("ann");
  auto database = service->privateDatabase("ann");
  auto assets = service->assets();
  for (int round = 0; round < rounds; ++round) {
    std::string name = prefix + "-" + std::to_string(round);
    std::vector<Asset> contents;
    // More than are flushed one by one, every other time.
    for (int copy = 0; copy < (round % 2 ? 20 : 1); ++copy) {
      contents.push_back(assets->put(bytesOf("content of " + name + " " + std::to_string(copy))));
    }
    assets->commit(contents);
    Record record = recordNamed(name);
    for (std::size_t copy = 0; copy < contents.size(); ++copy) {
      record.fields["content" + std::to_string(copy)] = contents[copy];
    }
    std::vector<RecordID> deletions;
    if (round >= 2) deletions.push_back(idOf(prefix + "-" + std::to_string(round - 2)));
    database->modify({record}, deletions, SavePolicy::IfUnchanged);
    acknowledged.send();
  }
}

void expectAssetsAreWhole(CloudAssets& assets, const Record& record) {
  for (const auto& [field, value] : record.fields) {
    const Asset* asset = std::get_if<Asset>(&value);
    if (asset == nullptr) continue;
    Sha256 hash;
    hash.update(bytesOf(contentOf(assets, *asset)));
    EXPECT_EQ(hash.finish(), asset->sha256);
  }
}

// All that was acknowledged is there, whole, and at most one round more.
void expectStateAfter(const std::filesystem::path& folder, const std::string& prefix,
                      int acknowledged) {
  auto service = openCloudService(folder, OpenCloud::Existing);
  EXPECT_TRUE(std::filesystem::is_empty(folder / "staging"));
  if (!service->account("ann")) {
    EXPECT_EQ(acknowledged, 0);
    return;
  }
  auto database = service->privateDatabase("ann");
  std::set<std::string> there;
  for (const Record& record : database->changes("", 100'000).changed) {
    if (!record.id.name.starts_with(prefix + "-")) continue;
    there.insert(record.id.name);
    expectAssetsAreWhole(*service->assets(), record);
  }
  auto stateOf = [&prefix](int rounds) {
    std::set<std::string> names;
    for (int round = std::max(0, rounds - 2); round < rounds; ++round) {
      names.insert(prefix + "-" + std::to_string(round));
    }
    return names;
  };
  EXPECT_TRUE(there == stateOf(acknowledged) || there == stateOf(acknowledged + 1))
      << "after " << acknowledged << " rounds there are " << there.size() << " records";
  Database check(folder / "cloud.db");
  auto result = check.query("PRAGMA integrity_check");
  ASSERT_TRUE(result.step());
  EXPECT_EQ(result.text(0), "ok");
}

TEST(CloudCrash, LosesNothingAcknowledgedAndLeavesNothingHalfDone) {
  ScratchFolder folder;
  std::mt19937 random(20'240'229);
  for (int crash = 0; crash < 60; ++crash) {
    std::string prefix = "run" + std::to_string(crash);
    BytePipe acknowledged;
    ForkedProcess writer([&folder, &prefix, &acknowledged] {
      writeUntilKilled(folder.cloud(), prefix, acknowledged, 1'000'000);
    });
    acknowledged.closeSending();
    int count = 0;
    for (int target = static_cast<int>(random() % 6); count < target; ++count) {
      ASSERT_TRUE(acknowledged.receive());
    }
    // Some turns of the processor, so that the end does not always come at the same step.
    for (auto turns = random() % 2000; turns > 0; --turns) ::sched_yield();
    writer.kill();
    while (acknowledged.receive()) ++count;  // said before it ended, not heard yet
    if (!std::filesystem::exists(folder.cloud() / "tessera-cloud.json")) {
      EXPECT_EQ(count, 0);  // killed while it made the cloud
      continue;
    }
    expectStateAfter(folder.cloud(), prefix, count);
    if (HasFailure()) FAIL() << "in crash " << crash;
  }
}

TEST(CloudCrash, DuringTheCreationLeavesAFolderThatACloudCanBeMadeIn) {
  std::mt19937 random(7);
  int unfinished = 0;
  for (int crash = 0; crash < 60; ++crash) {
    ScratchFolder folder;
    BytePipe started;
    ForkedProcess creator([&folder, &started] {
      started.send();
      (void)openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
    });
    ASSERT_TRUE(started.receive());
    for (auto turns = random() % 500; turns > 0; --turns) ::sched_yield();
    creator.kill();
    if (!std::filesystem::exists(folder.cloud() / "tessera-cloud.json")) ++unfinished;
    auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
    EXPECT_EQ(service->makeAccount("ann").name, "ann");
    EXPECT_EQ(service->containers().size(), 3u);
  }
  EXPECT_GT(unfinished, 0) << "no creation was cut short: the test tests nothing";
}

TEST(CloudProcesses, WriteAtOnceAndAReaderMissesNothing) {
  constexpr int kRounds = 100;
  constexpr int kWriters = 2;
  ScratchFolder folder;
  BytePipe acknowledged;
  std::vector<std::unique_ptr<ForkedProcess>> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(std::make_unique<ForkedProcess>([&folder, &acknowledged, writer] {
      writeUntilKilled(folder.cloud(), "w" + std::to_string(writer), acknowledged, kRounds);
    }));
  }
  acknowledged.closeSending();
  ASSERT_TRUE(acknowledged.receive());  // the cloud is there

  // Follows the feed as it grows. A record that was overtaken by its deletion between
  // two pages comes as a deletion only; nothing may be missing altogether.
  auto service = openCloudService(folder.cloud(), OpenCloud::Existing);
  auto database = service->privateDatabase("ann");
  std::set<std::string> heardOf;
  std::set<std::string> alive;
  long lastTag = 0;
  ChangeToken token;
  auto readPage = [&] {
    auto page = database->changes(token, 7);
    for (const Record& record : page.changed) {
      long tag = std::stol(record.changeTag);
      EXPECT_GT(tag, lastTag) << "out of order";
      lastTag = tag;
      heardOf.insert(record.id.name);
      alive.insert(record.id.name);
    }
    for (const RecordID& id : page.deleted) {
      heardOf.insert(id.name);
      alive.erase(id.name);
    }
    token = page.token;
    return page.moreComing;
  };
  while (acknowledged.receive()) readPage();
  for (auto& writer : writers) EXPECT_EQ(writer->wait(), 0);
  while (readPage()) {
  }

  std::set<std::string> expected;
  std::set<std::string> expectedAlive;
  for (int writer = 0; writer < kWriters; ++writer) {
    for (int round = 0; round < kRounds; ++round) {
      std::string name = "w" + std::to_string(writer) + "-" + std::to_string(round);
      expected.insert(name);
      if (round >= kRounds - 2) expectedAlive.insert(name);
    }
  }
  EXPECT_EQ(heardOf, expected);
  EXPECT_EQ(alive, expectedAlive);
}

TEST(CloudProcesses, ThatSaveTheSameRecordLetOneThroughAtATime) {
  constexpr int kRounds = 100;
  ScratchFolder folder;
  auto increment = [&folder] {
    auto service = openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
    service->makeAccount("ann");
    auto database = service->privateDatabase("ann");
    for (int done = 0; done < kRounds;) {
      Record record = database->record(idOf("counter")).value_or(recordNamed("counter", "0"));
      int value = std::stoi(std::get<std::string>(record.fields["text"]));
      record.fields["text"] = std::to_string(value + 1);
      auto code = codeThrownBy([&] {
        database->modify({record}, {}, SavePolicy::IfUnchanged);
        ++done;
      });
      if (code && *code != CloudError::Code::RecordChanged) throw std::runtime_error("refused");
    }
  };
  ForkedProcess first(increment);
  ForkedProcess second(increment);
  EXPECT_EQ(first.wait(), 0);
  EXPECT_EQ(second.wait(), 0);
  auto service = openCloudService(folder.cloud(), OpenCloud::Existing);
  auto counter = service->privateDatabase("ann")->record(idOf("counter"));
  ASSERT_TRUE(counter);
  EXPECT_EQ(counter->fields["text"], FieldValue(std::to_string(2 * kRounds)));
  EXPECT_EQ(counter->version, std::uint64_t{2 * kRounds});
}

}  // namespace
}  // namespace tessera
