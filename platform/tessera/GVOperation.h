#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSObject.h"
#include "platform/foundation/NSOperation.h"
#include "platform/foundation/NSURL.h"

namespace tessera {

class GVOperation;

// Daemon requests made in the name of an operation.
class GVOperationRemoteObject {
 public:
  using Reply = std::function<void(const NSErrorPtr&)>;

  virtual ~GVOperationRemoteObject() = default;
  // startOperation:toDownloadItemAtURL:readingOptions:wantsCurrentVersion:reply: — the
  // reply is called once; connection errors come through it as well.
  virtual void startOperation(const std::shared_ptr<GVOperation>& operation,
                              const NSURLPtr& toDownloadItemAtURL, std::uint64_t readingOptions,
                              bool wantsCurrentVersion, Reply reply) = 0;
  // Tells the daemon that nobody waits for this operation any more.
  virtual void cancelOperation(GVOperation& operation) = 0;
};

// An operation whose work is done by the daemon: main() sends a request, the reply ends it.
//
// Invariant: finishWithResult runs exactly once, whether the reply came, the operation was
// cancelled, or both; a cancelled operation ends with NSCocoaErrorDomain 3072 unless the
// reply came first.
// Threads: any.
class GVOperation : public NSOperation {
 public:
  // InstalledBackend<GVOperation::Backend>
  class Backend {
   public:
    virtual ~Backend() = default;
    virtual std::shared_ptr<GVOperationRemoteObject> remoteObject() = 0;
  };

  // remoteObject
  [[nodiscard]] std::shared_ptr<GVOperationRemoteObject> remoteObject();
  // completedWithResult:error: — the work is done; the first call leads to the one
  // finishWithResult, later ones do nothing.
  void completedWithResult(const NSObjectPtr& result, const NSErrorPtr& error);
  void cancel() override;
  void start() override;

 protected:
  // finishWithResult:error: — overrides call this one last; it ends the operation.
  virtual void finishWithResult(const NSObjectPtr& result, const NSErrorPtr& error);

 private:
  std::mutex _lock;
  std::shared_ptr<GVOperationRemoteObject> _remoteObject;  // guarded by _lock
  bool _completed = false;                                 // guarded by _lock
};

}  // namespace tessera
