#include "skiff/service/ContainerAddition.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <span>
#include <system_error>

#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

constexpr std::size_t kLargestIcon = 16 * 1024 * 1024;  // bytes

std::string readIcon(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::system_error(errno, std::generic_category(), "read " + path);
  std::string content(std::istreambuf_iterator<char>(file), {});
  if (content.size() > kLargestIcon) {
    throw SkiffError(SkiffError::Code::BadArgument, "An icon has at most 16 MiB: " + path, path);
  }
  return content;
}

std::uint32_t bigEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t index = at; index < at + 4; ++index) {
    value = value << 8 | static_cast<unsigned char>(bytes[index]);
  }
  return value;
}

// Width and height as the header of a PNG file has them (PNG, third edition, section 11.2.1).
CloudContainer::Icon describeIcon(const std::string& content, const std::string& path) {
  static constexpr std::string_view kSignature = "\x89PNG\r\n\x1a\n";
  if (content.size() < 24 || !content.starts_with(kSignature) ||
      content.compare(12, 4, "IHDR") != 0) {
    throw SkiffError(SkiffError::Code::BadArgument, "Not a PNG picture: " + path, path);
  }
  CloudContainer::Icon icon;
  icon.width = bigEndian(content, 16);
  icon.height = bigEndian(content, 20);
  return icon;
}

}  // namespace

void addContainer(Daemon& daemon, const std::string& identifier, const std::string& displayName,
                  const std::vector<std::string>& iconPaths) {
  std::shared_ptr<CloudService> cloud = daemon.link.service();
  CloudContainer container;
  container.identifier = identifier;
  for (const CloudContainer& known : cloud->containers()) {
    if (known.identifier == identifier) container = known;
  }
  if (!displayName.empty()) container.displayName = displayName;
  if (container.displayName.empty()) {
    container.displayName = identifier.substr(identifier.rfind('.') + 1);
  }
  if (!iconPaths.empty()) container.icons.clear();
  std::shared_ptr<CloudAssets> assets = cloud->assets();
  std::vector<Asset> images;
  for (const std::string& path : iconPaths) {
    std::string content = readIcon(path);
    CloudContainer::Icon icon = describeIcon(content, path);
    icon.image = assets->put(std::as_bytes(std::span(content)));
    images.push_back(icon.image);
    container.icons.push_back(icon);
  }
  if (!images.empty()) assets->commit(images);
  cloud->putContainer(container);
  if (auto account = daemon.accounts->current()) {
    daemon.containers.bringUpToDate(*cloud, account->identifier);
  }
}

}  // namespace tessera
