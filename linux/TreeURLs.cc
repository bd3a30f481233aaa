#include "linux/TreeURLs.h"

#include <string_view>
#include <utility>

#include <sys/stat.h>

#include "linux/ErrorCodec.h"
#include "linux/SkiffFailure.h"
#include "linux/WireText.h"
#include "platform/tessera/GVErrors.h"

namespace tessera {
namespace {

struct PathAnswer {
  std::string path;
  bool isReference = false;
  NSErrorPtr error;
};

NSErrorPtr unusablePath(const std::string& path) {
  return NSError::errorWithDomain(
      GVTesseraErrorDomain, GVTesseraErrorUnknown,
      {{NSLocalizedDescriptionKey, "The sync daemon (skiff) sent \"" + path + "\" as a path."}});
}

// nil, with an error for a caller that wants one, unless the answer is a path.
NSURLPtr urlOf(const Outcome<PathAnswer>& outcome, NSErrorPtr* error) {
  NSErrorPtr reason;
  if (!outcome.ok()) {
    reason = skiffError(outcome.failure());
  } else if (outcome.value().error) {
    reason = outcome.value().error;
  } else if (!outcome.value().path.starts_with('/') ||
             outcome.value().path.find('\0') != std::string::npos) {
    reason = unusablePath(outcome.value().path);
  } else {
    return NSURL::fileURLWithPath(outcome.value().path);
  }
  if (error != nullptr) *error = std::move(reason);
  return nullptr;
}

bool isSymbolicLink(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

}  // namespace

bool TreeURLs::isInSyncedLocation(const NSURLPtr& url) {
  const std::string_view path = url->path();
  if (!path.starts_with(_tree)) return false;
  return _tree == "/" || path.size() == _tree.size() || path[_tree.size()] == '/';
}

bool TreeURLs::isPromiseURL(const NSURLPtr& url) {
  constexpr std::string_view kPrefix = ".tessera-";
  constexpr std::string_view kSuffix = ".promise";
  const std::string name = url->lastPathComponent();
  if (!name.starts_with(kPrefix) || !name.ends_with(kSuffix)) return false;
  if (name.size() < kPrefix.size() + kSuffix.size()) return false;
  const auto identifier =
      std::string_view(name).substr(kPrefix.size(), name.size() - kPrefix.size() - kSuffix.size());
  return GVFileObjectID::fileObjectIDWithString(identifier).has_value();
}

bool TreeURLs::isExternalDocumentReference(const NSURLPtr& url) {
  if (url->hasResourceMark(kReferenceMark)) return true;
  return isInSyncedLocation(url) && isSymbolicLink(url->path());
}

NSURLPtr TreeURLs::resolveExternalDocumentReference(const NSURLPtr& url, NSErrorPtr* error) {
  return urlOf(_skiff.callBlocking<PathAnswer>([&](SkiffSession& session) {
    auto request = session.skiff().resolveReferenceRequest();
    request.setPath(url->path());
    return request.send().then([](auto&& results) {
      return PathAnswer{textOf(results.getPath()), false, decodeError(results.getError())};
    });
  }),
               error);
}

std::optional<std::string> TreeURLs::containerIDIfIsDocumentsContainerURL(const NSURLPtr& url) {
  return _containers.containerAtPath(url->path());
}

NSURLPtr TreeURLs::documentURLFromFileObjectID(const GVFileObjectID& fileObjectID,
                                               NSErrorPtr* error) {
  const auto outcome = _skiff.callBlocking<PathAnswer>([&](SkiffSession& session) {
    auto request = session.skiff().documentPathRequest();
    request.setFileObjectId(fileObjectID.asString());
    return request.send().then([](auto&& results) {
      return PathAnswer{textOf(results.getPath()), results.getIsReference(),
                        decodeError(results.getError())};
    });
  });
  auto url = urlOf(outcome, error);
  if (url && outcome.value().isReference) url->setResourceMark(kReferenceMark);
  return url;
}

}  // namespace tessera
