#include "platform/tessera/GVAccount.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {

GVAccountPtr GVAccount::currentLoggedInAccountWithError(NSErrorPtr* error) {
  return InstalledBackend<Backend>::get().currentLoggedInAccount(error);
}

void GVAccount::startAccountTokenChangeObserverIfNeeded() {
  InstalledBackend<Backend>::get().startAccountTokenChangeObserverIfNeeded();
}

}  // namespace tessera
