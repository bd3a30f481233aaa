#include "skiff/transfer/Hydrator.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "skiff/store/SkiffError.h"
#include "tests/skiff/support/Device.h"

namespace tessera {
namespace {

using Paths = std::set<std::string>;

std::optional<SkiffError::Code> codeOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const SkiffError& error) {
    return error.code();
  }
  return std::nullopt;
}

TEST(Hydrator, PutsWholeContentInPlaceAndTakesThePromiseAway) {
  SharedCloud cloud;
  std::string large(3'500'000, 'x');
  DocumentRecord record = cloud.save(cloud.documentRecord("large", large));
  DocumentRecord empty = cloud.save(cloud.documentRecord("empty", ""));
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  device.fetch(empty);
  EXPECT_EQ(device.onDisk(), (Paths{"large", "empty"}));
  EXPECT_EQ(device.content("large"), large);
  EXPECT_EQ(device.content("empty"), "");
  auto item = device.item(record);
  EXPECT_EQ(item->state, ContentState::Local);
  EXPECT_EQ(item->stamp->modifiedAt, record.modifiedAt);
  EXPECT_TRUE(item->uploaded);
  device.fetch(record);
  EXPECT_EQ(device.opened, 2);
}

TEST(Hydrator, ADocumentWithoutContentBecomesAnEmptyFile) {
  SharedCloud cloud;
  DocumentRecord record = SharedCloud::folderRecord("document");
  record.kind = DocumentKind::Document;
  record = cloud.save(record);
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  EXPECT_EQ(device.onDisk(), Paths{"document"});
  EXPECT_EQ(device.opened, 0);
}

TEST(Hydrator, CancelledItLeavesThePlaceholder) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", std::string(3'000'000, 'x')));
  Device device(cloud);
  device.catchUp();
  device.onProgress = [&device] { device.cancel(); };
  EXPECT_EQ(codeOf([&] { device.fetch(record); }), SkiffError::Code::Cancelled);
  EXPECT_EQ(device.onDisk(), Paths{"document~"});
  EXPECT_EQ(device.item(record)->state, ContentState::Placeholder);
}

TEST(Hydrator, FollowsTheDocumentWhereverItIsMovedMeanwhile) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "text"));
  Device device(cloud);
  device.catchUp();
  device.onStage = [&](HydrationStage stage) {
    if (stage != HydrationStage::Staged) return;
    record.parent = folder.id.name;
    record.name = "moved";
    record.executable = true;
    record = cloud.save(record);
    device.catchUp();
  };
  device.fetch(record);
  EXPECT_EQ(device.onDisk(), (Paths{"folder/", "folder/moved"}));
  EXPECT_EQ(device.content("folder/moved"), "text");
  EXPECT_TRUE(TreeEntry::at(device.tree->openFolder("folder").get(), "moved")->executable);
}

TEST(Hydrator, FetchesAgainWhenAnotherVersionComesMeanwhile) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  int staged = 0;
  device.onStage = [&](HydrationStage stage) {
    if (stage != HydrationStage::Staged || ++staged > 1) return;
    record.content = cloud.upload("two");
    record = cloud.save(record);
    device.catchUp();
  };
  device.fetch(record);
  EXPECT_EQ(staged, 2);
  EXPECT_EQ(device.content("document"), "two");
}

TEST(Hydrator, ADocumentThatIsDeletedMeanwhileIsGone) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.onStage = [&](HydrationStage stage) {
    if (stage != HydrationStage::Staged) return;
    cloud.erase({record});
    device.catchUp();
  };
  EXPECT_EQ(codeOf([&] { device.fetch(record); }), SkiffError::Code::NoSuchItem);
  EXPECT_EQ(device.onDisk(), Paths{});
}

TEST(Hydrator, AFileThatCameMeanwhileIsNotReplaced) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.onStage = [&](HydrationStage stage) {
    if (stage == HydrationStage::Verified) device.write("document", "mine");
  };
  EXPECT_EQ(codeOf([&] { device.fetch(record); }), SkiffError::Code::FileExists);
  EXPECT_EQ(device.content("document"), "mine");
  EXPECT_EQ(device.item(record)->state, ContentState::Placeholder);
}

TEST(Hydrator, ADocumentThatAPersonDeletedHereIsFetchedAgainOnRequest) {
  SharedCloud cloud;
  DocumentRecord record = cloud.save(cloud.documentRecord("document", "one"));
  Device device(cloud);
  device.catchUp();
  device.fetch(record);
  std::filesystem::remove(device.at("document"));
  device.fetch(record);
  EXPECT_EQ(device.onDisk(), Paths{"document"});
}

TEST(Hydrator, AFolderHasNothingToFetch) {
  SharedCloud cloud;
  DocumentRecord folder = cloud.save(SharedCloud::folderRecord("folder"));
  Device device(cloud);
  device.catchUp();
  EXPECT_EQ(codeOf([&] { device.fetch(folder); }), SkiffError::Code::BadArgument);
}

// Killed at each stage, the next start finds either the placeholder or the whole document.
TEST(Hydrator, KilledAtAnyStageItLeavesAPlaceholderOrTheWhole) {
  for (HydrationStage stage :
       {HydrationStage::Noted, HydrationStage::Staged, HydrationStage::Verified,
        HydrationStage::Published, HydrationStage::Committed}) {
    SharedCloud cloud;
    std::string text(2'500'000, 'x');
    DocumentRecord record = cloud.save(cloud.documentRecord("document", text));
    { Device(cloud).catchUp(); }
    pid_t child = ::fork();
    if (child == 0) {
      auto service = openCloudService(cloud.folder / "cloud", OpenCloud::Existing);
      cloud.assets = service->assets();
      Device device(cloud);
      device.onStage = [stage](HydrationStage now) {
        if (now == stage) ::kill(::getpid(), SIGKILL);
      };
      device.fetch(record);
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << static_cast<int>(stage);
    Device device(cloud);
    bool whole = stage == HydrationStage::Published || stage == HydrationStage::Committed;
    EXPECT_EQ(device.onDisk(), whole ? Paths{"document"} : Paths{"document~"});
    EXPECT_EQ(device.items(), device.onDisk());
    device.fetch(record);
    EXPECT_EQ(device.content("document"), text);
    EXPECT_EQ(device.opened, whole ? 0 : 1);
  }
}

TEST(Hydrator, KilledBetweenTheStepsOfANewVersionItKeepsWhatAPersonChanged) {
  SharedCloud cloud;
  DocumentRecord plain = cloud.save(cloud.documentRecord("plain", "one"));
  DocumentRecord edited = cloud.save(cloud.documentRecord("edited", "one"));
  Device device(cloud);
  device.catchUp();
  device.fetch(plain);
  device.fetch(edited);
  // As a crash leaves it after the first step: the rows say placeholder, the files stand.
  device.store->write([&](StoreWriter& writer) {
    for (const DocumentRecord& record : {plain, edited}) {
      StoredItem item = *writer.items().find(Device::idOf(record));
      item.state = ContentState::Placeholder;
      writer.update(item);
    }
  });
  device.write("edited", "edited after that");
  device.open();
  EXPECT_EQ(device.onDisk(), (Paths{"plain~", "edited"}));
  EXPECT_EQ(device.items(), device.onDisk());
  EXPECT_EQ(device.content("edited"), "edited after that");
  EXPECT_FALSE(device.item(edited)->uploaded);
}

}  // namespace
}  // namespace tessera
