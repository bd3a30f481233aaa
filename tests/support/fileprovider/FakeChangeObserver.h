#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "tests/support/calls/CallRecorder.h"
#include "tests/support/calls/HandlerOnce.h"

namespace tessera {

// Takes one batch of changes and fails the test unless it is finished exactly once.
// Records "observer.didUpdateItems(<count>)", "observer.didDeleteItems(<count>)",
// "observer.finishUpToAnchor" and "observer.finishWithError".
//
// Threads: any.
class FakeChangeObserver final : public NSFileProviderChangeObserver {
 public:
  struct Batch {
    NSFileProviderItems updated;
    std::vector<NSFileProviderItemIdentifier> deleted;
    NSFileProviderSyncAnchor anchor;  // nil when it ended with an error
    bool moreComing = false;
    NSErrorPtr error;
  };

  explicit FakeChangeObserver(CallRecorderPtr calls) : _calls(std::move(calls)) {}

  // Runs within every call on the observer, before the call counts. Set before it is used.
  void whenCalled(std::function<void()> hook) { _hook = std::move(hook); }

  void didUpdateItems(const NSFileProviderItems& items) override;
  void didDeleteItemsWithIdentifiers(
      const std::vector<NSFileProviderItemIdentifier>& identifiers) override;
  void finishEnumeratingChangesUpToSyncAnchor(const NSFileProviderSyncAnchor& anchor,
                                              bool moreComing) override;
  void finishEnumeratingWithError(const NSErrorPtr& error) override;

  // Waits for the finish.
  [[nodiscard]] Batch batch() const;

 private:
  void called(std::string call);

  const CallRecorderPtr _calls;
  std::function<void()> _hook;
  HandlerOnce<bool> _finished;
  mutable std::mutex _lock;
  Batch _batch;  // guarded by _lock
};

}  // namespace tessera
