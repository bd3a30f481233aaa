#pragma once

#include <memory>

#include "platform/foundation/InstalledBackend.h"
#include "platform/tessera/GVOperation.h"
#include "tests/support/calls/CallQueue.h"
#include "tests/support/calls/CallRecorder.h"

namespace tessera {

// The daemon as operations see it. Installed as long as it lives. Downloads wait in their
// queue until the test takes them out and replies.
//
// Records "operation.download(<path>, options=0x<hex>, current=<0|1>)" and
// "operation.cancel".
//
// Threads: any.
class FakeOperationRemote final : public GVOperation::Backend {
 public:
  struct Download {
    std::shared_ptr<GVOperation> operation;
    NSURLPtr url;
    std::uint64_t readingOptions;
    bool wantsCurrentVersion;
    GVOperationRemoteObject::Reply reply;
  };

  explicit FakeOperationRemote(CallRecorderPtr calls);
  ~FakeOperationRemote() override;

  std::shared_ptr<GVOperationRemoteObject> remoteObject() override;
  CallQueue<Download>& downloads();

 private:
  class Remote;
  const std::shared_ptr<Remote> _remote;
  InstalledBackend<GVOperation::Backend>::Installation _installed{*this};
};

}  // namespace tessera
