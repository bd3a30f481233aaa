#pragma once

#include <functional>

#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSError.h"

namespace tessera {

// The extension's way to call on the platform's file-provider service.
// Threads: any.
class NSFileProviderManager {
 public:
  using SignalCompletion = std::function<void(const NSErrorPtr&)>;

  virtual ~NSFileProviderManager() = default;

  // The installed one (InstalledBackend<NSFileProviderManager>).
  [[nodiscard]] static NSFileProviderManager& defaultManager();

  // signalEnumeratorForContainerItemIdentifier:completionHandler: — asks the platform to
  // enumerate the container again. The handler is called once, later, on any thread.
  virtual void signalEnumeratorForContainerItemIdentifier(
      const NSFileProviderItemIdentifier& identifier, SignalCompletion completionHandler) = 0;
};

}  // namespace tessera
