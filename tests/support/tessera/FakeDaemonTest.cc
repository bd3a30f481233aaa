#include "tests/support/tessera/FakeDaemon.h"

#include <gtest/gtest.h>

#include "tests/support/calls/HandlerOnce.h"
#include "tests/support/tessera/FakeUpdateSender.h"
#include "tests/support/tessera/SampleItems.h"

namespace tessera {
namespace {

GVErrorHandler noError() {
  return [](const NSErrorPtr&) { ADD_FAILURE() << "the connection did not fail"; };
}

TEST(FakeDaemon, HoldsRequestsUntilTheTestAnswers) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeDaemon daemon(calls);
  HandlerOnce<GVQueryItems, std::uint64_t, NSErrorPtr> page;
  const auto proxy =
      GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(noError());
  proxy->enumerateItemsInFolder(sampleID(2), 1, 400, 200, page.handler());
  EXPECT_EQ(0U, page.calls());
  const auto request = daemon.pages.take();
  EXPECT_EQ(sampleID(2), request.folder);
  request.reply({sampleItem(1)}, 600, nullptr);
  EXPECT_EQ(600U, std::get<1>(page.wait()));
  EXPECT_EQ((std::vector<std::string>{"daemon.enumerateItems(00000000-0000-0000-0000-000000000002, "
                                      "sort=1, offset=400, limit=200)"}),
            calls->calls());
}

TEST(FakeDaemon, FailsAConnectionThroughTheProxysOwnHandler) {
  FakeDaemon daemon(std::make_shared<CallRecorder>());
  HandlerOnce<NSErrorPtr> failed;
  const auto proxy =
      GVDaemonConnection::defaultConnection().remoteObjectProxyWithErrorHandler(failed.handler());
  proxy->enumerateAllFoldersWithSortOrder(0, 0, 200, nullptr);
  const auto error = NSError::errorWithDomain(NSCocoaErrorDomain, NSXPCConnectionInterrupted);
  daemon.folders.take().failConnection(error);
  EXPECT_EQ(error, failed.value());
}

TEST(FakeDaemon, RefusesSendersAtOnceWhenToldTo) {
  FakeDaemon daemon(std::make_shared<CallRecorder>());
  const auto error = NSError::errorWithDomain("domain", 1);
  daemon.refuseSenders(error);
  HandlerOnce<std::shared_ptr<GVItemUpdateSender>, GVDictionary, NSErrorPtr> reply;
  daemon.remoteObjectProxyWithErrorHandler(noError())->getItemUpdateSenderWithReceiver(
      nullptr, reply.handler());
  EXPECT_EQ(error, std::get<2>(reply.wait()));
  EXPECT_EQ(0U, daemon.senders.size());
}

TEST(FakeUpdateSender, NumbersItsProxiesAndFailsTheirHandlers) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeUpdateSender sender(calls);
  HandlerOnce<NSErrorPtr> failed;
  auto first = sender.remoteObjectProxyWithErrorHandler(failed.handler());
  sender.remoteObjectProxyWithErrorHandler(noError())->watchItemAtURL(
      NSURL::fileURLWithPath("/tree/a"), 19, [](const NSErrorPtr&) {});
  first->boostPriority([] {});
  first->invalidate();
  sender.invalidate();
  EXPECT_EQ(
      (std::vector<std::string>{"sender.proxy2.watch(/tree/a, 19)", "sender.proxy1.boostPriority",
                                "sender.proxy1.invalidate", "sender.invalidate"}),
      calls->calls());
  EXPECT_FALSE(sender.triggerError(2, nullptr));  // nobody holds it
  const auto error = NSError::errorWithDomain("domain", 1);
  EXPECT_TRUE(sender.triggerError(1, error));
  EXPECT_EQ(error, failed.value());
  first = nullptr;
  EXPECT_FALSE(sender.isProxyHeld(1));
}

}  // namespace
}  // namespace tessera
