#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "platform/foundation/InstalledBackend.h"
#include "platform/tessera/GVAccount.h"
#include "platform/tessera/GVContainer.h"
#include "platform/tessera/GVQueryItem.h"
#include "platform/tessera/GVURLAdditions.h"
#include "tests/support/calls/CallRecorder.h"

namespace tessera {

// The parts of the client library that are asked directly: the account, the containers,
// what URLs know, and item records. Installed as long as it lives. Everything below
// kSyncedTree is in the synced location. Somebody is signed in at first.
//
// Records "account.current", "account.startObserver", "containers.all",
// "container.item(<id>, scan=<0|1>)", "item.query(<path>, scan=<0|1>)",
// "url.document(<identifier>)" and "url.resolve(<path>)".
//
// Threads: any.
class FakeClientLibrary final : public GVAccount::Backend,
                                public GVContainer::Backend,
                                public GVQueryItem::Backend,
                                public GVURLBackend {
 public:
  static constexpr const char* kSyncedTree = "/tree";

  explicit FakeClientLibrary(CallRecorderPtr calls);

  // The next answers about the account: both may be given.
  void setAccount(GVAccountPtr account, NSErrorPtr error = nullptr);
  // A container without documents folder if `documentsURL` is nil. `item` is its record.
  void putContainer(const std::string& containerID, const NSURLPtr& documentsURL,
                    GVQueryItemPtr item = nullptr);
  // Where a file object is; or why that cannot be said.
  void putDocumentURL(const GVFileObjectID& fileObjectID, NSURLPtr url, NSErrorPtr error = nullptr);
  // Makes the file at `path` an external-document reference.
  void putReference(const std::string& path, NSURLPtr target, NSErrorPtr error = nullptr);
  void putPromise(const std::string& path);
  // Counts what is below `path` as synced too: for tests with files that exist.
  void putSyncedFolder(const std::string& path);
  // The daemon's answer about the item at `path`; without one it knows nothing of it.
  void putItem(const std::string& path, GVQueryItemPtr item, NSErrorPtr error = nullptr);

  GVAccountPtr currentLoggedInAccount(NSErrorPtr* error) override;
  void startAccountTokenChangeObserverIfNeeded() override;
  GVContainersByID allContainersByContainerID() override;
  GVQueryItemPtr containerItem(const GVContainerPtr& container, bool forceScan) override;
  GVQueryItemPtr itemAtURL(const NSURLPtr& url, bool fakeFSEvent, NSErrorPtr* error) override;
  bool isInSyncedLocation(const NSURLPtr& url) override;
  bool isPromiseURL(const NSURLPtr& url) override;
  bool isExternalDocumentReference(const NSURLPtr& url) override;
  NSURLPtr resolveExternalDocumentReference(const NSURLPtr& url, NSErrorPtr* error) override;
  std::optional<std::string> containerIDIfIsDocumentsContainerURL(const NSURLPtr& url) override;
  NSURLPtr documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                       NSErrorPtr* error) override;

 private:
  template <class T>
  struct Answer {
    T value;
    NSErrorPtr error;
    T give(NSErrorPtr* out) const {
      if (error && out != nullptr) *out = error;
      return value;
    }
  };

  const CallRecorderPtr _calls;
  std::mutex _lock;
  // Guarded by _lock:
  Answer<GVAccountPtr> _account;
  GVContainersByID _containers;
  std::map<std::string, GVQueryItemPtr> _containerItems;
  std::map<GVFileObjectID, Answer<NSURLPtr>> _documentURLs;
  std::map<std::string, Answer<NSURLPtr>> _references;
  std::set<std::string> _promises;
  std::set<std::string> _syncedFolders{kSyncedTree};
  std::map<std::string, Answer<GVQueryItemPtr>> _items;

  InstalledBackend<GVAccount::Backend>::Installation _asAccounts{*this};
  InstalledBackend<GVContainer::Backend>::Installation _asContainers{*this};
  InstalledBackend<GVQueryItem::Backend>::Installation _asItems{*this};
  InstalledBackend<GVURLBackend>::Installation _asURLs{*this};
};

}  // namespace tessera
