#include "linux/EnumerationObservers.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "linux/ErrorCodec.h"
#include "linux/ItemCodec.h"
#include "linux/PageCodec.h"

namespace tessera {
namespace {

void append(NSFileProviderItems& gathered, const NSFileProviderItems& items) {
  std::copy_if(items.begin(), items.end(), std::back_inserter(gathered),
               [](const NSFileProviderItemPtr& item) { return item != nullptr; });
}

unsigned countOf(const auto& list) {
  return static_cast<unsigned>(list.size());
}

}  // namespace

void PageObserver::didEnumerateItems(const NSFileProviderItems& items) {
  append(*_items.lock(), items);
}

void PageObserver::finishEnumeratingUpToPage(const NSFileProviderPage& page) {
  const auto items = std::exchange(*_items.lock(), {});
  _reply.send([&](auto results) {
    encodeProviderItems(items, results.initItems(countOf(items)));
    encodePage(page, results.initNext());
  });
}

// What was listed before the error belongs to a page that never came to its end.
void PageObserver::finishEnumeratingWithError(const NSErrorPtr& error) {
  _reply.send([&](auto results) { encodeError(error, results.initError()); });
}

void ChangesObserver::didUpdateItems(const NSFileProviderItems& items) {
  append(_gathered.lock()->updates, items);
}

void ChangesObserver::didDeleteItemsWithIdentifiers(
    const std::vector<NSFileProviderItemIdentifier>& identifiers) {
  const auto gathered = _gathered.lock();
  gathered->deletions.insert(gathered->deletions.end(), identifiers.begin(), identifiers.end());
}

void ChangesObserver::finishEnumeratingChangesUpToSyncAnchor(const NSFileProviderSyncAnchor& anchor,
                                                             bool moreComing) {
  const auto gathered = std::exchange(*_gathered.lock(), {});
  _reply.send([&](auto results) {
    encodeProviderItems(gathered.updates, results.initUpdates(countOf(gathered.updates)));
    auto deletions = results.initDeletions(countOf(gathered.deletions));
    for (unsigned i = 0; i < deletions.size(); ++i) deletions.set(i, gathered.deletions[i]);
    results.setAnchor(encodeToken(anchor));
    results.setMoreComing(moreComing);
  });
}

void ChangesObserver::finishEnumeratingWithError(const NSErrorPtr& error) {
  _reply.send([&](auto results) { encodeError(error, results.initError()); });
}

}  // namespace tessera
