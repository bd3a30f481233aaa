#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "core/LogSection.h"
#include "platform/dispatch/DispatchQueue.h"
#include "platform/fileprovider/NSFileProviderExtension.h"
#include "platform/foundation/Guarded.h"
#include "platform/foundation/NSOperationQueue.h"

namespace tessera {

class GVFileProvidingRequestOperation;

// The extension's principal object: answers what the platform's file-provider service asks,
// by way of the daemon. One class whose methods are defined in the folder that they belong
// to; those that begin with an underscore are for the extension itself.
//
// Threads: any, several at once. The queues are constant after construction; the running
// downloads are reached through their (recursive) lock, which is never held across a call
// to the daemon or to a handler.
// Lifetime: one per process, made by the platform, until the process ends. From create() to
// destruction it is registered for account-token changes.
class GVFileProviderExtension final : public NSFileProviderExtension,
                                      public NSFileProviderExtension_Private,
                                      public std::enable_shared_from_this<GVFileProviderExtension> {
 public:
  // alloc and init. Registering for notifications takes a shared object, which a
  // constructor does not have yet.
  [[nodiscard]] static std::shared_ptr<GVFileProviderExtension> create();
  ~GVFileProviderExtension() override;  // dealloc

  // Items: core/ItemLookup.cc

  // itemForIdentifier:error: — a GVQueryItem
  NSFileProviderItemPtr itemForIdentifier(const NSFileProviderItemIdentifier& identifier,
                                          NSErrorPtr* error) override;
  // _propertiesForItemAtURL:error: — the record of an item that is there already
  NSFileProviderItemPtr _propertiesForItemAtURL(const NSURLPtr& url, NSErrorPtr* error);
  // _propertiesForNewItemAtURL:error: — the record of an item that the extension has just
  // made or changed: the daemon looks at it again first
  NSFileProviderItemPtr _propertiesForNewItemAtURL(const NSURLPtr& url, NSErrorPtr* error);
  // _propertiesForItemAtURL:forceScan:error: — waits for the daemon. Whatever `error` holds
  // at the end, even from before the call, is translated.
  NSFileProviderItemPtr _propertiesForItemAtURL(const NSURLPtr& url, bool forceScan,
                                                NSErrorPtr* error);
  // fileProviderErrorFromFSError: — turns "file exists" into the platform's collision error
  // when the item in the way is known; any other error is returned as it is
  NSErrorPtr fileProviderErrorFromFSError(const NSErrorPtr& error);

  // Identifiers and URLs: core/IdentifierMapping.cc

  // URLForItemWithPersistentIdentifier: — follows external-document references
  NSURLPtr URLForItemWithPersistentIdentifier(
      const NSFileProviderItemIdentifier& identifier) override;
  // _URLForItemWithPersistentIdentifier:resolvingGVAliases:
  NSURLPtr _URLForItemWithPersistentIdentifier(const NSFileProviderItemIdentifier& identifier,
                                               bool resolvingGVAliases);
  // _URLForItemWithPersistentIdentifier:resolvingGVAliases:attachPhysical: — nil for what is
  // unknown or outside the synced tree. With `attachPhysical`, file operations through the
  // URL reach what stands for the item on disk.
  NSURLPtr _URLForItemWithPersistentIdentifier(const NSFileProviderItemIdentifier& identifier,
                                               bool resolvingGVAliases, bool attachPhysical);
  // persistentIdentifierForItemAtURL:
  std::optional<NSFileProviderItemIdentifier> persistentIdentifierForItemAtURL(
      const NSURLPtr& url) override;

  // Enumerators: enumeration/EnumeratorFactory.cc

  // enumeratorForContainerItemIdentifier:error:
  NSFileProviderEnumeratorPtr enumeratorForContainerItemIdentifier(
      const NSFileProviderItemIdentifier& identifier, NSErrorPtr* error) override;

  // Content: content/StartProviding.cc

  // providePlaceholderAtURL:completionHandler: — the handler may be empty
  void providePlaceholderAtURL(const NSURLPtr& url,
                               const NSProvidingCompletion& completionHandler) override;
  // startProvidingItemAtURL:completionHandler:
  void startProvidingItemAtURL(const NSURLPtr& url,
                               const NSProvidingCompletion& completionHandler) override;
  // startProvidingItemAtURL:readingOptions:completionHandler: — one download a request; the
  // platform does not ask twice for a path while its download runs
  void startProvidingItemAtURL(const NSURLPtr& url, std::uint64_t readingOptions,
                               const NSProvidingCompletion& completionHandler) override;

  // Accounts: core/AccountGate.cc

  // _isLoggedInOrError: — an account is signed in that can be used here
  bool _isLoggedInOrError(NSErrorPtr* error);

 private:
  using DownloadOperationByPath =
      std::map<std::string, std::shared_ptr<GVFileProvidingRequestOperation>>;

  GVFileProviderExtension();

  void _accountDidChange();
  void _itemProvidingEnded(const std::string& path, log_section_t section,
                           const NSProvidingCompletion& completionHandler, const NSErrorPtr& error);

  // Destroyed in the reverse order: nothing that is torn down refers to what is gone.
  Guarded<DownloadOperationByPath, std::recursive_mutex> _downloadOperationByPath;
  std::shared_ptr<NSOperationQueue> _operationQueue;
  DispatchQueuePtr _queue;
};

}  // namespace tessera
