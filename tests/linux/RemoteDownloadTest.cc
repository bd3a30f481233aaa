#include "linux/RemoteDownload.h"

#include <string>

#include "linux/WireText.h"
#include "platform/foundation/InstalledBackend.h"
#include "platform/foundation/NSOperationQueue.h"
#include "platform/tessera/GVErrors.h"
#include "tests/linux/LibraryTest.h"

namespace tessera {
namespace {

// An operation as the extension writes them.
class Download final : public GVOperation {
 public:
  explicit Download(Answer<NSErrorPtr> finished) : _finished(std::move(finished)) {}

  void main() override {
    const auto self = std::static_pointer_cast<Download>(shared_from_this());
    remoteObject()->startOperation(
        self, NSURL::fileURLWithPath("/tree/a"), 0x20001, true,
        [self](const NSErrorPtr& error) { self->completedWithResult(nullptr, error); });
  }

 protected:
  void finishWithResult(const NSObjectPtr& result, const NSErrorPtr& error) override {
    _finished.handler()(error);
    GVOperation::finishWithResult(result, error);
  }

 private:
  const Answer<NSErrorPtr> _finished;
};

class RemoteDownloadTest : public LibraryTest {
 protected:
  void startClient() {
    makeClient();
    downloads.emplace(*skiff);
    installed.emplace(*downloads);
  }
  std::shared_ptr<Download> start() {
    auto operation = std::make_shared<Download>(finished);
    queue.emplace();
    queue->addOperation(operation);
    return operation;
  }
  void TearDown() override {
    queue.reset();
    installed.reset();
    LibraryTest::TearDown();
  }

  Answer<NSErrorPtr> finished;
  std::optional<RemoteDownloads> downloads;
  std::optional<InstalledBackend<GVOperation::Backend>::Installation> installed;
  std::optional<NSOperationQueue> queue;
};

TEST_F(RemoteDownloadTest, EndsWhenTheContentIsThere) {
  Answer<std::string, std::uint64_t, bool> asked;
  startDaemon({.download = [&](auto context) -> kj::Promise<void> {
    const auto params = context.getParams();
    asked.handler()(textOf(params.getPath()), params.getReadingOptions(),
                    params.getWantsCurrentVersion());
    return kj::READY_NOW;
  }});
  startClient();
  const auto operation = start();
  operation->waitUntilFinished();
  EXPECT_EQ(std::get<0>(finished.wait()), nullptr);
  EXPECT_EQ(asked.wait(), std::make_tuple("/tree/a", 0x20001U, true));
  endClient();
  EXPECT_EQ(finished.count(), 1U);
}

TEST_F(RemoteDownloadTest, HandsOnTheDaemonsError) {
  startDaemon({.download = [](auto context) -> kj::Promise<void> {
    auto error = context.getResults().initError();
    error.setDomain(NSPOSIXErrorDomain);
    error.setCode(28);
    return kj::READY_NOW;
  }});
  startClient();
  start();
  const auto error = std::get<0>(finished.wait());
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), 28);
}

TEST_F(RemoteDownloadTest, EndsWithAnErrorWhenTheDaemonDies) {
  Answer<> arrived;
  startDaemon({.download = [&](auto) -> kj::Promise<void> {
    arrived.handler()();
    return kj::NEVER_DONE;
  }});
  startClient();
  start();
  arrived.wait();
  daemon.reset();
  EXPECT_EQ(std::get<0>(finished.wait())->code(), GVTesseraErrorDaemonNotResponding);
  endClient();
  EXPECT_EQ(finished.count(), 1U);
}

TEST_F(RemoteDownloadTest, TakesTheRequestBackWhenItIsCancelled) {
  Answer<> arrived;
  Answer<> takenBack;
  startDaemon({.download = [&](auto) -> kj::Promise<void> {
    arrived.handler()();
    kj::Promise<void> never = kj::NEVER_DONE;
    return never.attach(kj::defer(takenBack.handler()));
  }});
  startClient();
  const auto operation = start();
  arrived.wait();
  operation->cancel();
  takenBack.wait();
  operation->waitUntilFinished();
  const auto error = std::get<0>(finished.wait());
  EXPECT_EQ(error->domain(), NSCocoaErrorDomain);
  EXPECT_EQ(error->code(), NSUserCancelledError);
  endClient();
  EXPECT_EQ(finished.count(), 1U);
}

TEST_F(RemoteDownloadTest, RepliesWithACancellationToACancelledRequestThatStartsLate) {
  Answer<NSErrorPtr> replied;
  startDaemon({.download = [](auto) -> kj::Promise<void> { return kj::NEVER_DONE; }});
  startClient();
  const auto operation = std::make_shared<Download>(finished);
  const auto remote = downloads->remoteObject();
  remote->cancelOperation(*operation);
  remote->startOperation(operation, NSURL::fileURLWithPath("/tree/a"), 0, false, replied.handler());
  EXPECT_EQ(std::get<0>(replied.wait())->code(), NSUserCancelledError);
  endClient();
  EXPECT_EQ(replied.count(), 1U);
}

}  // namespace
}  // namespace tessera
