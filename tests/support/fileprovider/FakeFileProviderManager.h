#pragma once

#include "platform/fileprovider/NSFileProviderManager.h"
#include "tests/support/calls/CallQueue.h"
#include "tests/support/calls/CallRecorder.h"

namespace tessera {

// Records "signal(<identifier>)" and leaves the answer to the test.
class FakeFileProviderManager final : public NSFileProviderManager {
 public:
  struct Signal {
    NSFileProviderItemIdentifier identifier;
    SignalCompletion reply;
  };

  explicit FakeFileProviderManager(CallRecorderPtr calls) : _calls(std::move(calls)) {}

  void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& identifier,
                                                  SignalCompletion completionHandler) override;

  CallQueue<Signal> signals;

 private:
  const CallRecorderPtr _calls;
};

}  // namespace tessera
