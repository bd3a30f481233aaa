#pragma once

#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "platform/foundation/UUID.h"

namespace tessera {

// Reports the changes of the working set, which it never lists: the daemon keeps the
// position, and its change tokens go to the platform and back unchanged as sync anchors.
//
// Threads: any; it has no state that is used. An observer lives until its answer.
class GVWorkingSetEnumerator final : public NSFileProviderEnumerator,
                                     public NSFileProviderChangeEnumerating {
 public:
  // The anchor before any change has been delivered: these 17 bytes of text.
  [[nodiscard]] static const NSFileProviderSyncAnchor& initialSyncAnchor();

  // enumerateItemsForObserver:startingAtPage: — ends at once without items and makes the
  // platform ask for changes instead
  void enumerateItemsForObserver(const NSFileProviderEnumerationObserverPtr& observer,
                                 const NSFileProviderPage& startingAtPage) override;
  // enumerateChangesForObserver:fromSyncAnchor: — 200 changes at a time, more to come until
  // the daemon gives back the token that it was asked from
  void enumerateChangesForObserver(const NSFileProviderChangeObserverPtr& observer,
                                   const NSFileProviderSyncAnchor& fromSyncAnchor) override;
  // currentSyncAnchorWithCompletionHandler: — always the initial one
  void currentSyncAnchorWithCompletionHandler(const SyncAnchorCompletion& completion) override;
  void invalidate() override {}

 private:
  [[maybe_unused]] UUIDBytes _uuid{};  // nothing reads or writes it
};

}  // namespace tessera
