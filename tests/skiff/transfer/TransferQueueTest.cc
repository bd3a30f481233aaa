#include "skiff/transfer/TransferQueue.h"

#include <gtest/gtest.h>

#include <future>

#include "cloud/CloudError.h"
#include "skiff/store/SkiffError.h"
#include "tests/skiff/support/Device.h"

namespace tessera {
namespace {

// Content that comes when the test says so.
class HeldSource final : public ContentSource {
 public:
  explicit HeldSource(SharedCloud& cloud) : _cloud(cloud) {}

  std::unique_ptr<AssetDownload> open(const Asset& asset) override {
    std::unique_lock lock(_lock);
    ++_opened;
    _changed.notify_all();
    _changed.wait(lock, [this] { return _released; });
    return _cloud.assets->download(asset, 0);
  }
  void refresh(const StoredItem&) override {
    std::lock_guard lock(_lock);
    ++_refreshed;
  }
  void release() {
    std::lock_guard lock(_lock);
    _released = true;
    _changed.notify_all();
  }
  void waitForOpened(int count) {
    std::unique_lock lock(_lock);
    _changed.wait(lock, [this, count] { return _opened >= count; });
  }
  int opened() {
    std::lock_guard lock(_lock);
    return _opened;
  }
  int refreshed() {
    std::lock_guard lock(_lock);
    return _refreshed;
  }

 private:
  SharedCloud& _cloud;
  std::mutex _lock;
  std::condition_variable _changed;
  int _opened = 0;
  int _refreshed = 0;
  bool _released = false;
};

struct Rig {
  explicit Rig(unsigned atOnce = TransferQueue::kAtOnce)
      : device(cloud),
        source(cloud),
        hydrator(*device.store, *device.tree, source, device.problems),
        queue(std::make_unique<TransferQueue>(hydrator, atOnce)) {}
  ~Rig() { source.release(); }

  DocumentRecord add(const std::string& name) {
    DocumentRecord record = cloud.save(cloud.documentRecord(name, "content of " + name));
    device.catchUp();
    return record;
  }
  std::future<std::exception_ptr> request(const DocumentRecord& record, bool current = false,
                                          TransferQueue::Ticket* ticket = nullptr) {
    auto promise = std::make_shared<std::promise<std::exception_ptr>>();
    auto made = queue->request(Device::idOf(record), current,
                               [promise](std::exception_ptr e) { promise->set_value(e); });
    if (ticket != nullptr) *ticket = made;
    return promise->get_future();
  }

  SharedCloud cloud;
  Device device;
  HeldSource source;
  Hydrator hydrator;
  std::unique_ptr<TransferQueue> queue;
};

TEST(TransferQueue, SeveralRequestsShareOneTransfer) {
  Rig rig;
  DocumentRecord record = rig.add("document");
  std::vector<std::future<std::exception_ptr>> ends;
  for (int count = 0; count < 5; ++count) ends.push_back(rig.request(record));
  rig.source.waitForOpened(1);
  ends.push_back(rig.request(record));
  EXPECT_EQ(rig.queue->running().size(), 1u);
  rig.source.release();
  for (auto& end : ends) EXPECT_EQ(end.get(), nullptr);
  EXPECT_EQ(rig.source.opened(), 1);
}

TEST(TransferQueue, RunsAtMostSoManyAtOnce) {
  Rig rig(2);
  std::vector<std::future<std::exception_ptr>> ends;
  for (int index = 0; index < 6; ++index) {
    ends.push_back(rig.request(rig.add("d" + std::to_string(index))));
  }
  rig.source.waitForOpened(2);
  EXPECT_EQ(rig.queue->running().size(), 2u);
  EXPECT_EQ(rig.source.opened(), 2);
  rig.source.release();
  for (auto& end : ends) EXPECT_EQ(end.get(), nullptr);
}

TEST(TransferQueue, CancellingOneLeavesTheTransferToTheOthers) {
  Rig rig;
  DocumentRecord record = rig.add("document");
  TransferQueue::Ticket ticket = 0;
  auto first = rig.request(record, false, &ticket);
  auto second = rig.request(record);
  rig.source.waitForOpened(1);
  rig.queue->cancel(ticket);
  rig.source.release();
  EXPECT_EQ(second.get(), nullptr);
  EXPECT_EQ(rig.device.content("document"), "content of document");
}

TEST(TransferQueue, CancellingTheLastEndsTheTransfer) {
  Rig rig(1);
  DocumentRecord record = rig.add("document");
  DocumentRecord other = rig.add("other");
  TransferQueue::Ticket ticket = 0;
  auto end = rig.request(record, false, &ticket);
  rig.source.waitForOpened(1);
  rig.queue->cancel(ticket);
  rig.source.release();
  EXPECT_EQ(rig.request(other).get(), nullptr);
  EXPECT_FALSE(std::filesystem::exists(rig.device.at("document")));
  EXPECT_EQ(rig.device.item(record)->state, ContentState::Placeholder);
  // Asked for again, it comes.
  EXPECT_EQ(rig.request(record).get(), nullptr);
}

TEST(TransferQueue, ARequestDuringACancelledTransferGetsOneOfItsOwn) {
  Rig rig(1);
  DocumentRecord record = rig.add("document");
  TransferQueue::Ticket ticket = 0;
  auto first = rig.request(record, false, &ticket);
  rig.source.waitForOpened(1);
  rig.queue->cancel(ticket);
  auto second = rig.request(record);
  rig.source.release();
  EXPECT_EQ(second.get(), nullptr);
  EXPECT_EQ(rig.source.opened(), 2);
}

TEST(TransferQueue, AWishForTheCurrentVersionIsNotServedByATransferThatDidNotAsk) {
  Rig rig;
  DocumentRecord record = rig.add("document");
  auto plain = rig.request(record);
  rig.source.waitForOpened(1);
  auto current = rig.request(record, true);
  rig.source.release();
  EXPECT_EQ(plain.get(), nullptr);
  EXPECT_EQ(current.get(), nullptr);
  EXPECT_EQ(rig.source.refreshed(), 1);
}

TEST(TransferQueue, ItsEndTellsEveryoneWhoWaits) {
  Rig rig(1);
  auto running = rig.request(rig.add("running"));
  auto waiting = rig.request(rig.add("waiting"));
  rig.source.waitForOpened(1);
  rig.queue->cancelAll(
      std::make_exception_ptr(SkiffError(SkiffError::Code::SignedOut, "signed out")));
  rig.source.release();
  rig.queue.reset();
  for (auto* end : {&running, &waiting}) {
    std::exception_ptr failure = end->get();
    ASSERT_NE(failure, nullptr);
    EXPECT_THROW(std::rethrow_exception(failure), SkiffError);
  }
}

TEST(TransferQueue, FailuresReachEveryWaiter) {
  Rig rig;
  rig.source.release();
  DocumentRecord record = rig.add("document");
  std::filesystem::remove_all(rig.cloud.folder / "cloud/blobs");
  for (auto& end : {rig.request(record).share(), rig.request(record).share()}) {
    std::exception_ptr failure = end.get();
    ASSERT_NE(failure, nullptr);
    EXPECT_THROW(std::rethrow_exception(failure), CloudError);
  }
}

}  // namespace
}  // namespace tessera
