#pragma once

#include "linux/SkiffClient.h"
#include "platform/tessera/GVDaemonConnection.h"

namespace tessera {

// The daemon connection over skiff's socket. Threads: any.
class DaemonConnection final : public GVDaemonConnection {
 public:
  explicit DaemonConnection(SkiffClient& skiff) : _skiff(skiff) {}

  [[nodiscard]] std::shared_ptr<GVDaemonProxy> remoteObjectProxyWithErrorHandler(
      GVErrorHandler handler) override;

 private:
  SkiffClient& _skiff;
};

}  // namespace tessera
