#include "enumeration/ProviderItems.h"

namespace tessera {

NSFileProviderItems gv_providerItems(const GVQueryItems& records) {
  return NSFileProviderItems(records.begin(), records.end());
}

}  // namespace tessera
