#include "platform/fileprovider/NSFileProviderIdentifiers.h"

namespace tessera {

const NSFileProviderPage& NSFileProviderInitialPageSortedByName() {
  static const NSFileProviderPage page =
      NSData::dataWithText("NSFileProviderInitialPageSortedByName");
  return page;
}

const NSFileProviderPage& NSFileProviderInitialPageSortedByDate() {
  static const NSFileProviderPage page =
      NSData::dataWithText("NSFileProviderInitialPageSortedByDate");
  return page;
}

}  // namespace tessera
