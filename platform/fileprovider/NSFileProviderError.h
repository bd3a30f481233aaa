#pragma once

#include <optional>

#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"

namespace tessera {

inline constexpr const char* NSFileProviderErrorDomain = "NSFileProviderErrorDomain";

enum NSFileProviderErrorCode : std::int64_t {
  NSFileProviderErrorNotAuthenticated = -1000,
  NSFileProviderErrorFilenameCollision = -1001,
  NSFileProviderErrorSyncAnchorExpired = -1002,
  NSFileProviderErrorPageExpired = -1002,
  NSFileProviderErrorInsufficientQuota = -1003,
  NSFileProviderErrorServerUnreachable = -1004,
  NSFileProviderErrorNoSuchItem = -1005,
};

inline constexpr const char* NSFileProviderErrorNonExistentItemIdentifierKey =
    "NSFileProviderErrorNonExistentItemIdentifier";
inline constexpr const char* NSFileProviderErrorCollidingItemKey =
    "NSFileProviderErrorCollidingItem";

// fileProviderErrorForNonExistentItemWithIdentifier: — no such item, naming the
// identifier under NSFileProviderErrorNonExistentItemIdentifierKey (left out when absent).
[[nodiscard]] NSErrorPtr fileProviderErrorForNonExistentItemWithIdentifier(
    const std::optional<NSFileProviderItemIdentifier>& identifier);

// fileProviderErrorForCollisionWithItem: — the name is taken by `existingItem`, given
// under NSFileProviderErrorCollidingItemKey.
[[nodiscard]] NSErrorPtr fileProviderErrorForCollisionWithItem(
    const NSFileProviderItemPtr& existingItem);

// fp_collidingURL: the URL of the existing item that a write collided with (under
// NSURLErrorKey of the error), nil if the error does not say.
[[nodiscard]] NSURLPtr fp_collidingURL(const NSErrorPtr& error);

}  // namespace tessera
