#include "core/GVFileProviderExtension.h"

namespace tessera {

std::shared_ptr<NSFileProviderExtension> NSExtensionCreatePrincipalObject() {
  return GVFileProviderExtension::create();
}

}  // namespace tessera
