#include "tests/support/tessera/FakeOperationRemote.h"

#include <gtest/gtest.h>

#include "tests/support/calls/HandlerOnce.h"

namespace tessera {
namespace {

class Nothing final : public GVOperation {
 public:
  void main() override {}
};

TEST(FakeOperationRemote, HoldsDownloadsUntilTheTestReplies) {
  const auto calls = std::make_shared<CallRecorder>();
  FakeOperationRemote remote(calls);
  const auto operation = std::make_shared<Nothing>();
  HandlerOnce<NSErrorPtr> replied;
  const auto url = NSURL::fileURLWithPath("/tree/a");
  operation->remoteObject()->startOperation(operation, url, 0x20001, true, replied.handler());
  operation->remoteObject()->cancelOperation(*operation);
  EXPECT_EQ(0U, replied.calls());
  const auto download = remote.downloads().take();
  EXPECT_EQ(operation, download.operation);
  EXPECT_EQ(url, download.url);
  const auto error = NSError::errorWithDomain("domain", 1);
  download.reply(error);
  EXPECT_EQ(error, replied.value());
  EXPECT_EQ((std::vector<std::string>{"operation.download(/tree/a, options=0x20001, current=1)",
                                      "operation.cancel"}),
            calls->calls());
}

}  // namespace
}  // namespace tessera
