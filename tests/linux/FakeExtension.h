#pragma once

#include <functional>
#include <memory>

#include "platform/fileprovider/NSFileProviderExtension.h"
#include "tests/linux/Answer.h"

namespace tessera {

// An item of which only the identifier and the name matter.
[[nodiscard]] NSFileProviderItemPtr makeItem(const std::string& identifier);

// An enumerator that does as the test says; without changes unless it is a
// FakeChangingEnumerator.
class FakeEnumerator : public NSFileProviderEnumerator {
 public:
  void enumerateItemsForObserver(const NSFileProviderEnumerationObserverPtr& observer,
                                 const NSFileProviderPage& startingAtPage) override {
    onItems(observer, startingAtPage);
  }
  void invalidate() override { invalidated.handler()(); }

  std::function<void(NSFileProviderEnumerationObserverPtr, NSFileProviderPage)> onItems;
  Answer<> invalidated;
};

class FakeChangingEnumerator final : public FakeEnumerator, public NSFileProviderChangeEnumerating {
 public:
  void enumerateChangesForObserver(const NSFileProviderChangeObserverPtr& observer,
                                   const NSFileProviderSyncAnchor& fromSyncAnchor) override {
    onChanges(observer, fromSyncAnchor);
  }
  void currentSyncAnchorWithCompletionHandler(const SyncAnchorCompletion& completion) override {
    onAnchor(completion);
  }

  std::function<void(NSFileProviderChangeObserverPtr, NSFileProviderSyncAnchor)> onChanges;
  std::function<void(SyncAnchorCompletion)> onAnchor;
};

// An extension that does as the test says.
class FakeExtension final : public NSFileProviderExtension, public NSFileProviderExtension_Private {
 public:
  NSFileProviderItemPtr itemForIdentifier(const NSFileProviderItemIdentifier& identifier,
                                          NSErrorPtr* error) override {
    return onItem(identifier, error);
  }
  NSURLPtr URLForItemWithPersistentIdentifier(
      const NSFileProviderItemIdentifier& identifier) override {
    return onUrl(identifier);
  }
  std::optional<NSFileProviderItemIdentifier> persistentIdentifierForItemAtURL(
      const NSURLPtr& url) override {
    return onIdentifier(url);
  }
  NSFileProviderEnumeratorPtr enumeratorForContainerItemIdentifier(
      const NSFileProviderItemIdentifier& identifier, NSErrorPtr* error) override {
    return onEnumerator(identifier, error);
  }
  void providePlaceholderAtURL(const NSURLPtr& url,
                               const NSProvidingCompletion& completionHandler) override {
    onPlaceholder(url, completionHandler);
  }
  void startProvidingItemAtURL(const NSURLPtr& url,
                               const NSProvidingCompletion& completionHandler) override {
    onProviding(url, 0, completionHandler);
  }
  void startProvidingItemAtURL(const NSURLPtr& url, std::uint64_t readingOptions,
                               const NSProvidingCompletion& completionHandler) override {
    onProviding(url, readingOptions, completionHandler);
  }

  std::function<NSFileProviderItemPtr(const std::string&, NSErrorPtr*)> onItem;
  std::function<NSURLPtr(const std::string&)> onUrl;
  std::function<std::optional<std::string>(const NSURLPtr&)> onIdentifier;
  std::function<NSFileProviderEnumeratorPtr(const std::string&, NSErrorPtr*)> onEnumerator;
  std::function<void(NSURLPtr, NSProvidingCompletion)> onPlaceholder;
  std::function<void(NSURLPtr, std::uint64_t, NSProvidingCompletion)> onProviding;
};

// What NSExtensionCreatePrincipalObject gives in this program.
[[nodiscard]] std::function<std::shared_ptr<NSFileProviderExtension>()>& principalObjectMaker();

}  // namespace tessera
