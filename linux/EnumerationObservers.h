#pragma once

#include "linux/RequestReply.h"
#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "platform/foundation/Guarded.h"
#include "protocol/extension.capnp.h"

namespace tessera {

// Gathers one page of a listing and answers the host's request with it.
// Threads: any. Only the first finish counts.
class PageObserver final : public NSFileProviderEnumerationObserver {
 public:
  using Reply = RequestReply<wire::Enumerator::EnumerateItemsResults>;

  explicit PageObserver(Reply reply) : _reply(std::move(reply)) {}

  void didEnumerateItems(const NSFileProviderItems& items) override;
  void finishEnumeratingUpToPage(const NSFileProviderPage& page) override;
  void finishEnumeratingWithError(const NSErrorPtr& error) override;

 private:
  const Reply _reply;
  Guarded<NSFileProviderItems> _items;
};

// Gathers one batch of changes and answers the host's request with it.
// Threads: any. Only the first finish counts.
class ChangesObserver final : public NSFileProviderChangeObserver {
 public:
  using Reply = RequestReply<wire::Enumerator::EnumerateChangesResults>;

  explicit ChangesObserver(Reply reply) : _reply(std::move(reply)) {}

  void didUpdateItems(const NSFileProviderItems& items) override;
  void didDeleteItemsWithIdentifiers(
      const std::vector<NSFileProviderItemIdentifier>& identifiers) override;
  void finishEnumeratingChangesUpToSyncAnchor(const NSFileProviderSyncAnchor& anchor,
                                              bool moreComing) override;
  void finishEnumeratingWithError(const NSErrorPtr& error) override;

 private:
  struct Gathered {
    NSFileProviderItems updates;
    std::vector<NSFileProviderItemIdentifier> deletions;
  };

  const Reply _reply;
  Guarded<Gathered> _gathered;
};

}  // namespace tessera
