#include "tests/support/fileprovider/FakeChangeObserver.h"

namespace tessera {

void FakeChangeObserver::called(std::string call) {
  if (_hook) _hook();
  _calls->record("observer." + std::move(call));
}

void FakeChangeObserver::didUpdateItems(const NSFileProviderItems& items) {
  called("didUpdateItems(" + std::to_string(items.size()) + ")");
  const std::lock_guard held(_lock);
  _batch.updated.insert(_batch.updated.end(), items.begin(), items.end());
}

void FakeChangeObserver::didDeleteItemsWithIdentifiers(
    const std::vector<NSFileProviderItemIdentifier>& identifiers) {
  called("didDeleteItems(" + std::to_string(identifiers.size()) + ")");
  const std::lock_guard held(_lock);
  _batch.deleted.insert(_batch.deleted.end(), identifiers.begin(), identifiers.end());
}

void FakeChangeObserver::finishEnumeratingChangesUpToSyncAnchor(
    const NSFileProviderSyncAnchor& anchor, bool moreComing) {
  called("finishUpToAnchor");
  {
    const std::lock_guard held(_lock);
    _batch.anchor = anchor;
    _batch.moreComing = moreComing;
  }
  _finished.handler()(true);
}

void FakeChangeObserver::finishEnumeratingWithError(const NSErrorPtr& error) {
  called("finishWithError");
  {
    const std::lock_guard held(_lock);
    _batch.error = error;
  }
  _finished.handler()(true);
}

FakeChangeObserver::Batch FakeChangeObserver::batch() const {
  _finished.wait();
  const std::lock_guard held(_lock);
  return _batch;
}

}  // namespace tessera
