#include "platform/fileprovider/NSFileProviderError.h"

namespace tessera {

NSErrorPtr fileProviderErrorForNonExistentItemWithIdentifier(
    const std::optional<NSFileProviderItemIdentifier>& identifier) {
  NSErrorUserInfo userInfo;
  if (identifier) userInfo[NSFileProviderErrorNonExistentItemIdentifierKey] = *identifier;
  return NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem,
                                  std::move(userInfo));
}

NSErrorPtr fileProviderErrorForCollisionWithItem(const NSFileProviderItemPtr& existingItem) {
  NSErrorUserInfo userInfo;
  if (existingItem) userInfo[NSFileProviderErrorCollidingItemKey] = NSObjectPtr(existingItem);
  return NSError::errorWithDomain(NSFileProviderErrorDomain, NSFileProviderErrorFilenameCollision,
                                  std::move(userInfo));
}

NSURLPtr fp_collidingURL(const NSErrorPtr& error) {
  const auto entry = error->userInfo().find(NSURLErrorKey);
  if (entry == error->userInfo().end()) return nullptr;
  const auto* object = std::get_if<NSObjectPtr>(&entry->second);
  if (object == nullptr) return nullptr;
  const auto url = std::dynamic_pointer_cast<const NSURL>(*object);
  return url ? url->copy() : nullptr;
}

}  // namespace tessera
