#include "platform/tessera/GVOperation.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {
namespace {

NSErrorPtr cancelledError() {
  return NSError::errorWithDomain(NSCocoaErrorDomain, NSUserCancelledError);
}

}  // namespace

std::shared_ptr<GVOperationRemoteObject> GVOperation::remoteObject() {
  std::lock_guard held(_lock);
  if (!_remoteObject) _remoteObject = InstalledBackend<Backend>::get().remoteObject();
  return _remoteObject;
}

void GVOperation::start() {
  if (isCancelled()) {
    completedWithResult(nullptr, cancelledError());
    return;
  }
  NSOperation::start();
}

void GVOperation::completedWithResult(const NSObjectPtr& result, const NSErrorPtr& error) {
  {
    std::lock_guard held(_lock);
    if (_completed) return;
    _completed = true;
  }
  const auto self = shared_from_this();  // the queue lets go of a finished operation
  finishWithResult(result, error);
}

// The operation does not wait for the daemon to agree: a daemon that hangs must not keep a
// cancelled request waiting. One that was never started ends when its queue starts it.
void GVOperation::cancel() {
  NSOperation::cancel();
  if (!isExecuting()) return;
  std::shared_ptr<GVOperationRemoteObject> remote;
  {
    std::lock_guard held(_lock);
    remote = _remoteObject;
  }
  if (remote) remote->cancelOperation(*this);
  completedWithResult(nullptr, cancelledError());
}

void GVOperation::finishWithResult(const NSObjectPtr&, const NSErrorPtr&) {
  finish();
}

}  // namespace tessera
