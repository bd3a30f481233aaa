#include "platform/tessera/GVDaemonConnection.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {

GVDaemonConnection& GVDaemonConnection::defaultConnection() {
  return InstalledBackend<GVDaemonConnection>::get();
}

}  // namespace tessera
