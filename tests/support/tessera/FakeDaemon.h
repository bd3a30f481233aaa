#pragma once

#include <mutex>

#include "platform/foundation/InstalledBackend.h"
#include "platform/tessera/GVDaemonConnection.h"
#include "tests/support/calls/CallQueue.h"
#include "tests/support/calls/CallRecorder.h"

namespace tessera {

// The daemon behind the process's connection. Installed as long as it lives. Each request
// waits in its queue until the test takes it out and calls either its completion or the
// error handler of the proxy it came through.
//
// Records "daemon.enumerateItems(<identifier|root>, sort=S, offset=O, limit=L)",
// "daemon.enumerateAllFolders(sort=S, offset=O, limit=L)",
// "daemon.enumerateWorkingSetChanges(<nil|bytes as text>, limit=L)" and
// "daemon.getItemUpdateSender".
//
// Threads: any.
class FakeDaemon final : public GVDaemonConnection {
 public:
  struct PageRequest {
    std::optional<GVFileObjectID> folder;
    std::uint8_t sortOrder;
    std::uint64_t offset;
    std::uint64_t limit;
    GVDaemonProxy::PageCompletion reply;
    GVErrorHandler failConnection;
  };
  struct WorkingSetRequest {
    NSDataPtr changeToken;
    std::uint64_t limit;
    GVDaemonProxy::WorkingSetCompletion reply;
    GVErrorHandler failConnection;
  };
  struct SenderRequest {
    std::shared_ptr<GVItemNotificationReceiving> receiver;
    GVDaemonProxy::SenderReply reply;
    GVErrorHandler failConnection;
  };

  explicit FakeDaemon(CallRecorderPtr calls);

  // From now on a request for a sender is answered with `error` at once.
  void refuseSenders(NSErrorPtr error);

  std::shared_ptr<GVDaemonProxy> remoteObjectProxyWithErrorHandler(GVErrorHandler handler) override;

  CallQueue<PageRequest> pages;
  CallQueue<PageRequest> folders;
  CallQueue<WorkingSetRequest> workingSets;
  CallQueue<SenderRequest> senders;

 private:
  class Proxy;

  [[nodiscard]] NSErrorPtr senderRefusal();

  const CallRecorderPtr _calls;
  std::mutex _lock;
  NSErrorPtr _senderRefusal;  // guarded by _lock
  InstalledBackend<GVDaemonConnection>::Installation _installed{*this};
};

}  // namespace tessera
