#include "platform/foundation/NSURL.h"

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/foundation/TextSink.h"

namespace tessera {
namespace {

// A relative path is taken from the current directory.
std::string normalised(std::string_view path) {
  std::string result;
  if (!path.starts_with('/')) {
    std::error_code gone;  // a current directory that was deleted leaves the root
    result = std::filesystem::current_path(gone).string();
    if (result == "/") result.clear();
  }
  while (!path.empty()) {
    const std::size_t slash = path.find('/');
    const std::string_view name = path.substr(0, slash);
    path.remove_prefix(slash == std::string_view::npos ? path.size() : slash + 1);
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      result.resize(result.empty() ? 0 : result.rfind('/'));
      continue;
    }
    result += '/';
    result += name;
  }
  return result.empty() ? "/" : result;
}

// "pchar" of RFC 3986, section 3.3, and the slash between names.
constexpr bool standsForItself(char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return c != '\0' && std::string_view("-._~!$&'()*+,;=:@/").find(c) != std::string_view::npos;
}

std::int64_t readErrorCode(int posixCode) {
  switch (posixCode) {
    case ENOENT:
    case ENOTDIR:
      return NSFileReadNoSuchFileError;
    case EACCES:
    case EPERM:
      return NSFileReadNoPermissionError;
    default:
      return NSFileReadUnknownError;
  }
}

NSErrorPtr unreachable(const NSURL& url, std::error_code reason) {
  const auto posix = NSError::errorWithDomain(NSPOSIXErrorDomain, reason.value(),
                                              {{NSLocalizedDescriptionKey, reason.message()}});
  return NSError::errorWithDomain(NSCocoaErrorDomain, readErrorCode(reason.value()),
                                  {{NSURLErrorKey, NSObjectPtr(url.copy())},
                                   {NSFilePathErrorKey, url.path()},
                                   {NSUnderlyingErrorKey, NSObjectPtr(posix)}});
}

}  // namespace

NSURL::NSURL(std::string_view path) : _path(normalised(path)) {}

NSURLPtr NSURL::fileURLWithPath(std::string_view path) {
  return std::make_shared<NSURL>(path);
}

std::string NSURL::lastPathComponent() const {
  return _path == "/" ? _path : _path.substr(_path.rfind('/') + 1);
}

NSURLPtr NSURL::URLByAppendingPathComponent(std::string_view component) const {
  std::string path = _path;
  path += '/';
  path += component;
  return std::make_shared<NSURL>(path);
}

NSURLPtr NSURL::URLByDeletingLastPathComponent() const {
  if (_path == "/") return nullptr;
  return std::make_shared<NSURL>(std::string_view(_path).substr(0, _path.rfind('/') + 1));
}

NSURLPtr NSURL::copy() const {
  auto copied = std::make_shared<NSURL>(_path);
  const std::lock_guard held(_marksLock);
  copied->_marks = _marks;
  return copied;
}

bool NSURL::checkResourceIsReachableAndReturnError(NSErrorPtr* error) const {
  std::error_code reason;
  if (std::filesystem::exists(std::filesystem::symlink_status(_path, reason))) return true;
  if (error != nullptr) {
    if (!reason) reason = std::make_error_code(std::errc::no_such_file_or_directory);
    *error = unreachable(*this, reason);
  }
  return false;
}

void NSURL::setResourceMark(const std::string& name) {
  const std::lock_guard held(_marksLock);
  _marks.insert(name);
}

bool NSURL::hasResourceMark(const std::string& name) const {
  const std::lock_guard held(_marksLock);
  return _marks.contains(name);
}

std::string NSURL::absoluteString() const {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text = "file://";
  for (const char c : _path) {
    if (standsForItself(c)) {
      text += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    text += '%';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

void NSURL::describe(TextSink& sink) const {
  sink.append(absoluteString());
}

}  // namespace tessera
