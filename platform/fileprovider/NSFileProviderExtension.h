#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "platform/fileprovider/NSFileProviderEnumerator.h"
#include "platform/fileprovider/NSFileProviderItem.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"

namespace tessera {

// Called once when a request for content is over: nil when the content is there.
using NSProvidingCompletion = std::function<void(const NSErrorPtr&)>;

// Base of an extension's principal object: what the platform's file-provider service
// asks of it. The service makes one object per process and calls it on threads of its
// own choosing, several at once.
class NSFileProviderExtension {
 public:
  NSFileProviderExtension() = default;
  NSFileProviderExtension(const NSFileProviderExtension&) = delete;
  NSFileProviderExtension& operator=(const NSFileProviderExtension&) = delete;
  virtual ~NSFileProviderExtension() = default;

  // itemForIdentifier:error: — nil with an error on failure
  virtual NSFileProviderItemPtr itemForIdentifier(const NSFileProviderItemIdentifier& identifier,
                                                  NSErrorPtr* error) = 0;
  // URLForItemWithPersistentIdentifier:
  virtual NSURLPtr URLForItemWithPersistentIdentifier(
      const NSFileProviderItemIdentifier& identifier) = 0;
  // persistentIdentifierForItemAtURL:
  virtual std::optional<NSFileProviderItemIdentifier> persistentIdentifierForItemAtURL(
      const NSURLPtr& url) = 0;
  // enumeratorForContainerItemIdentifier:error:
  virtual NSFileProviderEnumeratorPtr enumeratorForContainerItemIdentifier(
      const NSFileProviderItemIdentifier& identifier, NSErrorPtr* error) = 0;
  // providePlaceholderAtURL:completionHandler:
  virtual void providePlaceholderAtURL(const NSURLPtr& url,
                                       const NSProvidingCompletion& completionHandler) = 0;
  // startProvidingItemAtURL:completionHandler:
  virtual void startProvidingItemAtURL(const NSURLPtr& url,
                                       const NSProvidingCompletion& completionHandler) = 0;
};

// What the platform asks of its own extensions beyond the public class.
class NSFileProviderExtension_Private {
 public:
  virtual ~NSFileProviderExtension_Private() = default;
  // startProvidingItemAtURL:readingOptions:completionHandler:
  virtual void startProvidingItemAtURL(const NSURLPtr& url, std::uint64_t readingOptions,
                                       const NSProvidingCompletion& completionHandler) = 0;
};

// The extension's principal object, made once per process by NSExtensionMain. Defined by
// the extension.
[[nodiscard]] std::shared_ptr<NSFileProviderExtension> NSExtensionCreatePrincipalObject();

// The platform's extension entry: serves the principal object to the host service until
// the process ends. Returns the process's exit status.
int NSExtensionMain(int argc, char** argv);

}  // namespace tessera
