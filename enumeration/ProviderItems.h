#pragma once

#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/tessera/GVQueryItem.h"

namespace tessera {

// The same records in the same order, as the platform's items: the client library's records
// answer the platform's item protocol themselves.
[[nodiscard]] NSFileProviderItems gv_providerItems(const GVQueryItems& records);

}  // namespace tessera
