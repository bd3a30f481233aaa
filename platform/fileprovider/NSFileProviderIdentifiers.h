#pragma once

#include "platform/foundation/NSData.h"

namespace tessera {

// Identifiers that name no document: the platform keeps them for itself.
inline constexpr const char* NSFileProviderRootContainerItemIdentifier =
    "NSFileProviderRootContainerItemIdentifier";
inline constexpr const char* NSFileProviderWorkingSetContainerItemIdentifier =
    "NSFileProviderWorkingSetContainerItemIdentifier";
inline constexpr const char* NSFileProviderAllDirectoriesContainerItemIdentifier =
    "NSFileProviderAllDirectoriesContainerItemIdentifier";

// Opaque positions that the platform stores and gives back; nil is allowed.
using NSFileProviderPage = NSDataPtr;
using NSFileProviderSyncAnchor = NSDataPtr;

// Where a listing starts, by sort order. Always the same objects.
[[nodiscard]] const NSFileProviderPage& NSFileProviderInitialPageSortedByName();
[[nodiscard]] const NSFileProviderPage& NSFileProviderInitialPageSortedByDate();

}  // namespace tessera
