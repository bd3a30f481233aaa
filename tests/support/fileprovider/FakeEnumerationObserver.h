#pragma once

#include <mutex>
#include <vector>

#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "tests/support/calls/CallRecorder.h"
#include "tests/support/calls/HandlerOnce.h"

namespace tessera {

// Takes one page of a listing and fails the test unless it is finished exactly once.
// Records "observer.didEnumerateItems(<count>)", "observer.finishUpToPage" and
// "observer.finishWithError".
//
// Threads: any.
class FakeEnumerationObserver final : public NSFileProviderEnumerationObserver {
 public:
  explicit FakeEnumerationObserver(CallRecorderPtr calls) : _calls(std::move(calls)) {}

  void didEnumerateItems(const NSFileProviderItems& items) override;
  void finishEnumeratingUpToPage(const NSFileProviderPage& page) override;
  void finishEnumeratingWithError(const NSErrorPtr& error) override;

  // These wait for the finish. Items of all didEnumerateItems together; nil unless the
  // listing ended with a page, with an error.
  [[nodiscard]] NSFileProviderItems items() const;
  [[nodiscard]] NSFileProviderPage page() const { return std::get<0>(_finished.wait()); }
  [[nodiscard]] NSErrorPtr error() const { return std::get<1>(_finished.wait()); }
  [[nodiscard]] bool isFinished() const { return _finished.calls() > 0; }

 private:
  const CallRecorderPtr _calls;
  HandlerOnce<NSFileProviderPage, NSErrorPtr> _finished;
  mutable std::mutex _lock;
  NSFileProviderItems _items;  // guarded by _lock
};

}  // namespace tessera
