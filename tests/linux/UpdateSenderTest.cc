// The watch on a folder: what the daemon pushes, what the watcher tells it, and how the
// watcher learns that the connection is lost.

#include "linux/UpdateSender.h"

#include <mutex>
#include <string>
#include <vector>

#include "linux/DaemonConnection.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"
#include "rpc/Call.h"
#include "tests/linux/LibraryTest.h"

namespace tessera {
namespace {

constexpr const char* kItem = "01234567-89ab-cdef-0123-456789abcdef";

// What the fake daemon's side of a watch sees; shared with the test's thread.
struct Seen {
  Answer<> boosted;
  Answer<std::string, std::uint64_t> watched;
  Answer<> invalidated;
  Answer<> dropped;
  Answer<LoopBound<wire::UpdateReceiver::Client>> receivers;
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class SenderServer final : public wire::UpdateSender::Server {
 public:
  SenderServer(Seen& seen, bool answersWatch) : _seen(seen), _answersWatch(answersWatch) {}
  ~SenderServer() noexcept { _seen.dropped.handler()(); }

  kj::Promise<void> boostPriority(BoostPriorityContext) override {
    _seen.boosted.handler()();
    return kj::READY_NOW;
  }
  kj::Promise<void> watchItemAtPath(WatchItemAtPathContext context) override {
    context.allowCancellation();
    const auto params = context.getParams();
    _seen.watched.handler()(textOf(params.getPath()), params.getOptions());
    if (_answersWatch) return kj::READY_NOW;
    return kj::NEVER_DONE;
  }
  kj::Promise<void> invalidate(InvalidateContext) override {
    _seen.invalidated.handler()();
    return kj::READY_NOW;
  }

 private:
  Seen& _seen;
  const bool _answersWatch;
};
#pragma GCC diagnostic pop

// A watcher that takes down what it gets, and answers when the test says so.
class Watcher final : public GVItemNotificationReceiving {
 public:
  void receiveUpdates(const GVQueryItems& updates, const GVDictionary&, const GVDictionary&,
                      const GVReply& reply) override {
    std::lock_guard held(_running);  // one at a time
    received.handler()(updates.empty() ? "" : updates[0]->filename(), reply);
  }
  void receiveProgressUpdates(const GVQueryItems& updates, const GVReply&) override {
    std::lock_guard held(_running);
    progressed.handler()(updates.size());
  }

  Answer<std::string, GVReply> received;
  Answer<std::size_t> progressed;

 private:
  std::mutex _running;
};

class UpdateSenderTest : public LibraryTest {
 protected:
  void startWatchedDaemon(bool answersWatch = true) {
    startDaemon({.updateSender = [this, answersWatch](auto context) -> kj::Promise<void> {
      seen.receivers.handler()(LoopBound<wire::UpdateReceiver::Client>(
          daemon->loop(), context.getParams().getReceiver()));
      context.getResults().setSender(kj::heap<SenderServer>(seen, answersWatch));
      return kj::READY_NOW;
    }});
  }
  void openSender() {
    DaemonConnection(*skiff)
        .remoteObjectProxyWithErrorHandler(connectionErrors.handler())
        ->getItemUpdateSenderWithReceiver(watcher, replies.handler());
    NSErrorPtr error;
    std::tie(sender, std::ignore, error) = replies.wait();
    ASSERT_NE(sender, nullptr);
    ASSERT_EQ(error, nullptr);
    receiver = std::get<0>(seen.receivers.wait());
  }
  // What the watcher's platform object does on set-up.
  void setUpWatch() {
    kept = sender->remoteObjectProxyWithErrorHandler(keptErrors.handler());
    kept->boostPriority([] {});
    sender->remoteObjectProxyWithErrorHandler(watchErrors.handler())
        ->watchItemAtURL(NSURL::fileURLWithPath("/tree/folder"), 0x17, gathered.handler());
    sender.reset();
  }
  // Pushes one batch from the daemon; `answered` when the watcher's answer has come.
  void push(const std::string& name, const Answer<>& answered) {
    (void)callAsync<void>(
        daemon->loop(), *daemonCallbacks,
        [receiver = receiver, name] {
          auto request = receiver.get().receiveUpdatesRequest();
          auto item = request.initUpdates(1)[0];
          item.setFileObjectId(kItem);
          item.setFilename(name);
          return request.send().ignoreResult();
        },
        std::nullopt,
        [handler = answered.handler()](Outcome<void> outcome) {
          if (outcome.ok()) handler();
        });
  }
  void TearDown() override {
    receiver.reset();
    std::tie(sender, std::ignore, std::ignore) = decltype(replies.wait())();
    replies = {};
    seen.receivers = {};
    kept.reset();
    daemon.reset();
    daemonCallbacks.reset();
    LibraryTest::TearDown();
  }

  Seen seen;
  std::optional<CallbackPool> daemonCallbacks{std::in_place};
  std::shared_ptr<Watcher> watcher = std::make_shared<Watcher>();
  Answer<std::shared_ptr<GVItemUpdateSender>, GVDictionary, NSErrorPtr> replies;
  Answer<NSErrorPtr> connectionErrors;
  Answer<NSErrorPtr> keptErrors;
  Answer<NSErrorPtr> watchErrors;
  Answer<NSErrorPtr> gathered;
  std::shared_ptr<GVItemUpdateSender> sender;
  std::shared_ptr<GVItemNotificationSending> kept;
  LoopBound<wire::UpdateReceiver::Client> receiver;
};

TEST_F(UpdateSenderTest, TellsTheDaemonWhatTheWatcherSays) {
  startWatchedDaemon();
  makeClient();
  openSender();
  setUpWatch();
  EXPECT_EQ(seen.watched.wait(), std::make_tuple("/tree/folder", 0x17U));
  EXPECT_EQ(std::get<0>(gathered.wait()), nullptr);
  seen.boosted.wait();
  kept->invalidate();
  seen.invalidated.wait();
  EXPECT_EQ(keptErrors.count() + watchErrors.count() + connectionErrors.count(), 0U);
}

TEST_F(UpdateSenderTest, LastsAsLongAsAProxyIsKept) {
  startWatchedDaemon();
  makeClient();
  openSender();
  setUpWatch();
  gathered.wait();
  replies = {};
  EXPECT_EQ(seen.dropped.count(), 0U);
  kept.reset();
  seen.dropped.wait();
}

TEST_F(UpdateSenderTest, AnswersABatchWhenTheWatcherHasReplied) {
  startWatchedDaemon();
  makeClient();
  openSender();
  Answer<> answered;
  push("one", answered);
  auto [name, reply] = watcher->received.wait();
  EXPECT_EQ(name, "one");
  EXPECT_EQ(answered.count(), 0U);
  reply();
  answered.wait();
  reply();  // once more changes nothing
  push("two", answered);
  EXPECT_EQ(std::get<0>(watcher->received.wait(2)), "two");
}

TEST_F(UpdateSenderTest, GivesTheWatcherOneCallAtATimeInTheirOrder) {
  startWatchedDaemon();
  makeClient();
  openSender();
  constexpr unsigned kBatches = 100;
  Answer<> answered;
  for (unsigned i = 0; i < kBatches; ++i) push(std::to_string(i), answered);
  for (unsigned i = 0; i < kBatches; ++i) {
    auto [name, reply] = watcher->received.wait(i + 1);
    EXPECT_EQ(name, std::to_string(i));
    EXPECT_EQ(watcher->received.count(), i + 1);
    reply();
  }
  answered.wait(kBatches);
}

TEST_F(UpdateSenderTest, TakesProgressThatIsNeverAnsweredForEver) {
  startWatchedDaemon();
  makeClient();
  openSender();
  constexpr unsigned kReports = 2000;  // many more than a stream keeps under way
  Answer<Outcome<void>> sent;
  (void)callAsync<void>(
      daemon->loop(), *daemonCallbacks,
      [receiver = receiver]() mutable {
        struct Stream {
          static kj::Promise<void> from(wire::UpdateReceiver::Client& to, unsigned left) {
            if (left == 0) return kj::READY_NOW;
            auto request = to.receiveProgressUpdatesRequest();
            request.initUpdates(1)[0].setFileObjectId(kItem);
            request.getUpdates()[0].setFilename("x");
            return request.send().then([&to, left] { return from(to, left - 1); });
          }
        };
        return Stream::from(receiver.get(), kReports);
      },
      std::nullopt, sent.handler());
  EXPECT_TRUE(std::get<0>(sent.wait()).ok());
  watcher->progressed.wait(kReports);
}

TEST_F(UpdateSenderTest, FailsABatchWhoseReplyIsLetGo) {
  startWatchedDaemon();
  makeClient();
  openSender();
  Answer<Outcome<void>> sent;
  (void)callAsync<void>(
      daemon->loop(), *daemonCallbacks,
      [receiver = receiver] {
        auto request = receiver.get().receiveUpdatesRequest();
        request.initUpdates(0);
        return request.send().ignoreResult();
      },
      std::nullopt, sent.handler());
  watcher->received.wait();
  watcher->received = {};
  EXPECT_FALSE(std::get<0>(sent.wait()).ok());
}

TEST_F(UpdateSenderTest, TellsTheKeptProxyOnceWhenTheConnectionIsLost) {
  startWatchedDaemon();
  makeClient();
  openSender();
  setUpWatch();
  gathered.wait();
  seen.boosted.wait();
  receiver.reset();
  daemon.reset();
  const auto error = std::get<0>(keptErrors.wait());
  EXPECT_EQ(error->domain(), GVTesseraErrorDomain);
  EXPECT_EQ(error->code(), GVTesseraErrorDaemonNotResponding);
  kept.reset();
  replies = {};
  endClient();
  EXPECT_EQ(keptErrors.count(), 1U);
  EXPECT_EQ(watchErrors.count(), 0U);
  EXPECT_EQ(gathered.count(), 1U);
}

TEST_F(UpdateSenderTest, TellsOfACallUnderWayByItsFailureAndOnceOnly) {
  startWatchedDaemon(false);
  makeClient();
  openSender();
  setUpWatch();
  seen.watched.wait();
  receiver.reset();
  daemon.reset();
  watchErrors.wait();
  keptErrors.wait();
  kept.reset();
  replies = {};
  endClient();
  EXPECT_EQ(watchErrors.count(), 1U);
  EXPECT_EQ(keptErrors.count(), 1U);
  EXPECT_EQ(gathered.count(), 0U);
}

TEST_F(UpdateSenderTest, TellsAProxyMadeAfterTheLoss) {
  startWatchedDaemon();
  makeClient();
  openSender();
  receiver.reset();
  daemon.reset();
  const auto early = sender->remoteObjectProxyWithErrorHandler(watchErrors.handler());
  watchErrors.wait();
  const auto late = sender->remoteObjectProxyWithErrorHandler(keptErrors.handler());
  keptErrors.wait();
}

TEST_F(UpdateSenderTest, TellsNobodyAfterInvalidation) {
  startWatchedDaemon();
  makeClient();
  openSender();
  setUpWatch();
  gathered.wait();
  kept->invalidate();
  seen.invalidated.wait();
  receiver.reset();
  daemon.reset();
  replies = {};
  endClient();
  EXPECT_EQ(keptErrors.count(), 0U);
}

TEST_F(UpdateSenderTest, LetsTheWatcherGoWhenTheConnectionIsLost) {
  startWatchedDaemon();
  makeClient();
  openSender();
  const std::weak_ptr<Watcher> weak = watcher;
  watcher.reset();
  receiver.reset();
  seen.receivers = {};
  daemon.reset();
  replies = {};
  sender.reset();
  endClient();
  EXPECT_TRUE(weak.expired());
}

TEST_F(UpdateSenderTest, HandsOnTheDaemonsRefusal) {
  startDaemon({.updateSender = [](auto context) -> kj::Promise<void> {
    auto error = context.getResults().initError();
    error.setDomain(GVTesseraErrorDomain);
    error.setCode(GVTesseraErrorLoggedOut);
    return kj::READY_NOW;
  }});
  makeClient();
  DaemonConnection(*skiff)
      .remoteObjectProxyWithErrorHandler(connectionErrors.handler())
      ->getItemUpdateSenderWithReceiver(watcher, replies.handler());
  auto [none, ignored, error] = replies.wait();
  EXPECT_EQ(none, nullptr);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->code(), GVTesseraErrorLoggedOut);
  EXPECT_EQ(connectionErrors.count(), 0U);
}

}  // namespace
}  // namespace tessera
