#pragma once

#include "platform/fileprovider/NSFileProviderEnumerator.h"

namespace tessera {

// Lists every folder of the account, flat, in pages of 200. It does not report changes.
//
// Threads: any; it has no state. An observer lives until its listing is finished.
class GVDirectoriesEnumerator final : public NSFileProviderEnumerator {
 public:
  // enumerateItemsForObserver:startingAtPage: — errors of the daemon reach the observer
  // translated, errors of the connection as they are
  void enumerateItemsForObserver(const NSFileProviderEnumerationObserverPtr& observer,
                                 const NSFileProviderPage& startingAtPage) override;
  void invalidate() override {}
};

}  // namespace tessera
