#include "tests/support/extension/ExtensionWorld.h"

#include "platform/foundation/NSNotificationCenter.h"

namespace tessera {

// The notification centre is made before the worker threads, so that work which ends late
// finds it.
ExtensionWorld::ExtensionWorld() {
  static_cast<void>(NSNotificationCenter::defaultCenter());
}

}  // namespace tessera
