#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSObject.h"

namespace tessera {

class NSURL;
using NSURLPtr = std::shared_ptr<NSURL>;

// The location of a file or folder. A URL is an object: marks put on it (see
// setResourceMark) belong to that object and do not travel to others with the same
// path.
//
// Invariant: the path is absolute and normalised ("." and "..", doubled and trailing
// slashes are resolved by the text alone, links are not followed). A relative path given
// to it is taken from the current directory.
// Threads: any.
class NSURL final : public NSObject {
 public:
  explicit NSURL(std::string_view path);

  // fileURLWithPath:
  [[nodiscard]] static NSURLPtr fileURLWithPath(std::string_view path);

  [[nodiscard]] const std::string& path() const noexcept { return _path; }
  // The last name of the path; "/" for the root of the file system.
  [[nodiscard]] std::string lastPathComponent() const;
  // URLByAppendingPathComponent:
  [[nodiscard]] NSURLPtr URLByAppendingPathComponent(std::string_view component) const;
  // The URL of the folder that holds this; nil for the root of the file system.
  [[nodiscard]] NSURLPtr URLByDeletingLastPathComponent() const;
  // A new object with the same path and the same marks (`copy`).
  [[nodiscard]] NSURLPtr copy() const;

  // checkResourceIsReachableAndReturnError: true when something exists at the URL
  // (a link counts, wherever it leads).
  bool checkResourceIsReachableAndReturnError(NSErrorPtr* error) const;

  [[nodiscard]] bool isEqual(const NSURL& other) const { return _path == other._path; }

  // Marks that operations on files look at, by name (see gv_addPhysicalProperty).
  void setResourceMark(const std::string& name);
  [[nodiscard]] bool hasResourceMark(const std::string& name) const;

  // "file:///path", percent-encoded as in RFC 3986.
  [[nodiscard]] std::string absoluteString() const;
  void describe(TextSink& sink) const override;

 private:
  const std::string _path;
  mutable std::mutex _marksLock;
  std::set<std::string> _marks;  // guarded by _marksLock
};

}  // namespace tessera
