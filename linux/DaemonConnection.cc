#include "linux/DaemonConnection.h"

#include <utility>

#include "linux/DaemonProxy.h"

namespace tessera {

std::shared_ptr<GVDaemonProxy> DaemonConnection::remoteObjectProxyWithErrorHandler(
    GVErrorHandler handler) {
  return std::make_shared<DaemonProxy>(_skiff, std::move(handler));
}

}  // namespace tessera
