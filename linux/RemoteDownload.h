#pragma once

#include "linux/SkiffClient.h"
#include "platform/foundation/Guarded.h"
#include "platform/tessera/GVOperation.h"

namespace tessera {

// The download that one operation waits for. Cancelling drops the call, which takes this
// request, and no other one for the same document, back at the daemon.
//
// Threads: any.
class RemoteDownload final : public GVOperationRemoteObject {
 public:
  explicit RemoteDownload(SkiffClient& skiff) : _skiff(skiff) {}

  void startOperation(const std::shared_ptr<GVOperation>& operation,
                      const NSURLPtr& toDownloadItemAtURL, std::uint64_t readingOptions,
                      bool wantsCurrentVersion, Reply reply) override;
  void cancelOperation(GVOperation& operation) override;

 private:
  struct State {
    bool cancelled = false;
    CallHandle call;
  };

  SkiffClient& _skiff;
  Guarded<State> _state;
};

// Gives each operation a remote object of its own. Threads: any.
class RemoteDownloads final : public GVOperation::Backend {
 public:
  explicit RemoteDownloads(SkiffClient& skiff) : _skiff(skiff) {}

  std::shared_ptr<GVOperationRemoteObject> remoteObject() override {
    return std::make_shared<RemoteDownload>(_skiff);
  }

 private:
  SkiffClient& _skiff;
};

}  // namespace tessera
