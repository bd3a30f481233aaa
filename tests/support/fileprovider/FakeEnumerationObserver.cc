#include "tests/support/fileprovider/FakeEnumerationObserver.h"

namespace tessera {

void FakeEnumerationObserver::didEnumerateItems(const NSFileProviderItems& items) {
  _calls->record("observer.didEnumerateItems(" + std::to_string(items.size()) + ")");
  const std::lock_guard held(_lock);
  _items.insert(_items.end(), items.begin(), items.end());
}

void FakeEnumerationObserver::finishEnumeratingUpToPage(const NSFileProviderPage& page) {
  _calls->record("observer.finishUpToPage");
  _finished.handler()(page, nullptr);
}

void FakeEnumerationObserver::finishEnumeratingWithError(const NSErrorPtr& error) {
  _calls->record("observer.finishWithError");
  _finished.handler()(nullptr, error);
}

NSFileProviderItems FakeEnumerationObserver::items() const {
  _finished.wait();
  const std::lock_guard held(_lock);
  return _items;
}

}  // namespace tessera
