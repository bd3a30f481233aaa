#include "cloud/CloudService.h"

#include <string_view>

#include "cloud/CloudError.h"
#include "cloud/embedded/EmbeddedCloud.h"

namespace tessera {

namespace {

[[noreturn]] void refuse(const std::string& message) {
  throw CloudError(CloudError::Code::InvalidArgument, message);
}

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] != '%') {
      decoded.push_back(text[index]);
      continue;
    }
    int high = index + 2 < text.size() ? digitValue(text[index + 1]) : -1;
    int low = index + 2 < text.size() ? digitValue(text[index + 2]) : -1;
    char byte = static_cast<char>(high * 16 + low);
    if (high < 0 || low < 0 || byte == '\0') refuse("The cloud's URL has a broken %-escape.");
    decoded.push_back(byte);
    index += 2;
  }
  return decoded;
}

// The scheme in front of "://", empty when there is none.
std::string_view schemeOf(std::string_view url) {
  auto end = url.find("://");
  if (end == std::string_view::npos || url.starts_with('/')) return {};
  return url.substr(0, end);
}

std::filesystem::path folderOf(std::string_view url) {
  std::string_view scheme = schemeOf(url);
  if (scheme.empty()) {
    if (!url.starts_with('/')) refuse("A cloud is an absolute path or a file:// URL.");
    return std::string(url);
  }
  if (scheme != "file") {
    refuse("No cloud engine serves \"" + std::string(scheme) +
           "://\". Use an absolute path or a file:// URL.");
  }
  std::string_view rest = url.substr(scheme.size() + 3);
  constexpr std::string_view kThisHost = "localhost/";
  if (rest.starts_with(kThisHost)) rest.remove_prefix(kThisHost.size() - 1);
  if (!rest.starts_with('/')) refuse("A file:// URL of another host cannot be a cloud here.");
  return percentDecoded(rest);
}

}  // namespace

std::unique_ptr<CloudService> openCloudService(const std::string& url, OpenCloud mode) {
  if (url.find('\0') != std::string::npos) refuse("The cloud's URL has a NUL character in it.");
  return std::make_unique<EmbeddedCloud>(folderOf(url), mode);
}

}  // namespace tessera
