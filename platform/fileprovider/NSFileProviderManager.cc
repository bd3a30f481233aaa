#include "platform/fileprovider/NSFileProviderManager.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {

NSFileProviderManager& NSFileProviderManager::defaultManager() {
  return InstalledBackend<NSFileProviderManager>::get();
}

}  // namespace tessera
