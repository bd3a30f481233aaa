#include "platform/tessera/GVContainer.h"

#include "platform/foundation/InstalledBackend.h"

namespace tessera {

GVContainersByID GVContainer::allContainersByContainerID() {
  return InstalledBackend<Backend>::get().allContainersByContainerID();
}

std::vector<GVContainerPtr> GVContainer::allContainers() {
  std::vector<GVContainerPtr> containers;
  for (auto& [identifier, container] : allContainersByContainerID()) {
    containers.push_back(container);
  }
  return containers;
}

}  // namespace tessera
