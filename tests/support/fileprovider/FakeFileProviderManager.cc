#include "tests/support/fileprovider/FakeFileProviderManager.h"

namespace tessera {

void FakeFileProviderManager::signalEnumeratorForContainerItemIdentifier(
    const NSFileProviderItemIdentifier& identifier, SignalCompletion completionHandler) {
  signals.push({identifier, std::move(completionHandler)});
  _calls->record("signal(" + identifier + ")");
}

}  // namespace tessera
