#include "tests/support/tessera/FakeClientLibrary.h"

#include <algorithm>
#include <utility>

#include "platform/foundation/NSError.h"

namespace tessera {
namespace {

std::string scanText(bool scan) {
  return scan ? ", scan=1)" : ", scan=0)";
}

}  // namespace

FakeClientLibrary::FakeClientLibrary(CallRecorderPtr calls)
    : _calls(std::move(calls)),
      _account{std::make_shared<GVAccount>("somebody", "somebody-here"), nullptr} {}

void FakeClientLibrary::setAccount(GVAccountPtr account, NSErrorPtr error) {
  const std::lock_guard held(_lock);
  _account = {std::move(account), std::move(error)};
}

void FakeClientLibrary::putContainer(const std::string& containerID, const NSURLPtr& documentsURL,
                                     GVQueryItemPtr item) {
  const std::lock_guard held(_lock);
  _containers[containerID] = std::make_shared<GVContainer>(containerID, containerID, documentsURL,
                                                           GVFileObjectID(GVFileObjectID::Bytes{}));
  _containerItems[containerID] = std::move(item);
}

void FakeClientLibrary::putDocumentURL(const GVFileObjectID& fileObjectID, NSURLPtr url,
                                       NSErrorPtr error) {
  const std::lock_guard held(_lock);
  _documentURLs[fileObjectID] = {std::move(url), std::move(error)};
}

void FakeClientLibrary::putReference(const std::string& path, NSURLPtr target, NSErrorPtr error) {
  const std::lock_guard held(_lock);
  _references[path] = {std::move(target), std::move(error)};
}

void FakeClientLibrary::putPromise(const std::string& path) {
  const std::lock_guard held(_lock);
  _promises.insert(path);
}

void FakeClientLibrary::putSyncedFolder(const std::string& path) {
  const std::lock_guard held(_lock);
  _syncedFolders.insert(path);
}

void FakeClientLibrary::putItem(const std::string& path, GVQueryItemPtr item, NSErrorPtr error) {
  const std::lock_guard held(_lock);
  _items[path] = {std::move(item), std::move(error)};
}

GVAccountPtr FakeClientLibrary::currentLoggedInAccount(NSErrorPtr* error) {
  _calls->record("account.current");
  const std::lock_guard held(_lock);
  return _account.give(error);
}

void FakeClientLibrary::startAccountTokenChangeObserverIfNeeded() {
  _calls->record("account.startObserver");
}

GVContainersByID FakeClientLibrary::allContainersByContainerID() {
  _calls->record("containers.all");
  const std::lock_guard held(_lock);
  return _containers;
}

GVQueryItemPtr FakeClientLibrary::containerItem(const GVContainerPtr& container, bool forceScan) {
  _calls->record("container.item(" + container->containerID() + scanText(forceScan));
  const std::lock_guard held(_lock);
  return _containerItems[container->containerID()];
}

GVQueryItemPtr FakeClientLibrary::itemAtURL(const NSURLPtr& url, bool fakeFSEvent,
                                            NSErrorPtr* error) {
  _calls->record("item.query(" + url->path() + scanText(fakeFSEvent));
  const std::lock_guard held(_lock);
  const auto found = _items.find(url->path());
  if (found != _items.end()) return found->second.give(error);
  return Answer<GVQueryItemPtr>{nullptr,
                                NSError::errorWithDomain(NSCocoaErrorDomain, NSFileNoSuchFileError)}
      .give(error);
}

bool FakeClientLibrary::isInSyncedLocation(const NSURLPtr& url) {
  const std::lock_guard held(_lock);
  return std::ranges::any_of(_syncedFolders, [&url](const std::string& folder) {
    return url->path() == folder || url->path().starts_with(folder + "/");
  });
}

bool FakeClientLibrary::isPromiseURL(const NSURLPtr& url) {
  const std::lock_guard held(_lock);
  return _promises.contains(url->path());
}

bool FakeClientLibrary::isExternalDocumentReference(const NSURLPtr& url) {
  const std::lock_guard held(_lock);
  return _references.contains(url->path());
}

NSURLPtr FakeClientLibrary::resolveExternalDocumentReference(const NSURLPtr& url,
                                                             NSErrorPtr* error) {
  _calls->record("url.resolve(" + url->path() + ")");
  const std::lock_guard held(_lock);
  return _references.at(url->path()).give(error);
}

std::optional<std::string> FakeClientLibrary::containerIDIfIsDocumentsContainerURL(
    const NSURLPtr& url) {
  const std::lock_guard held(_lock);
  for (const auto& [containerID, container] : _containers) {
    if (container->documentsURL() && container->documentsURL()->isEqual(*url)) return containerID;
  }
  return std::nullopt;
}

NSURLPtr FakeClientLibrary::documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                                        NSErrorPtr* error) {
  _calls->record("url.document(" + fileObjectID.asString() + ")");
  const std::lock_guard held(_lock);
  const auto found = _documentURLs.find(fileObjectID);
  if (found != _documentURLs.end()) return found->second.give(error);
  return Answer<NSURLPtr>{nullptr,
                          NSError::errorWithDomain(NSCocoaErrorDomain, NSFileNoSuchFileError)}
      .give(error);
}

}  // namespace tessera
