#include "linux/PublishedContainers.h"

#include <utility>
#include <vector>

#include "home/PublishedState.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

std::vector<PublishedContainer> entriesOf(const std::optional<std::string>& text) {
  if (!text) return {};
  try {
    return containersFromJson(*text);
  } catch (const HomeError& failure) {
    gvc_default_log().error("[ERROR] %@", std::string(failure.what()));
    return {};
  }
}

// Below the tree, with nothing that leads out of it.
bool isBelow(const NSURL& url, const NSURL& tree) {
  return url.isEqual(tree) || url.path().starts_with(tree.path() + "/");
}

}  // namespace

PublishedContainers::ParsedPtr PublishedContainers::parse(std::optional<std::string> text) const {
  const NSURL tree(_tree.string());
  auto parsed = std::make_shared<Parsed>();
  for (const auto& entry : entriesOf(text)) {
    const auto folder = GVFileObjectID::fileObjectIDWithString(entry.documentsFolderId);
    const auto url = tree.URLByAppendingPathComponent(entry.documentsPath);
    if (!folder || entry.identifier.empty() || !isBelow(*url, tree)) {
      gvc_default_log().error(
          "[ERROR] the published container '%@' is left out: its folder is "
          "'%@' (%@)",
          entry.identifier, entry.documentsPath, entry.documentsFolderId);
      continue;
    }
    parsed->containers[entry.identifier] =
        std::make_shared<const GVContainer>(entry.identifier, entry.displayName, url, *folder);
    parsed->identifiersByPath[url->path()] = entry.identifier;
  }
  parsed->text = std::move(text);
  return parsed;
}

// Kept by the text rather than by the file's generation: two threads that read different
// versions cannot leave the older one behind under the newer one's number.
PublishedContainers::ParsedPtr PublishedContainers::current() {
  std::optional<std::string> text;
  try {
    text = _file.read();
  } catch (const HomeError& failure) {
    gvc_default_log().error("[ERROR] %@", std::string(failure.what()));
  }
  ParsedPtr latest = *_latest.lock();
  if (latest && latest->text == text) return latest;
  latest = parse(std::move(text));
  *_latest.lock() = latest;
  return latest;
}

GVContainersByID PublishedContainers::allContainersByContainerID() {
  const ParsedPtr now = current();
  {
    const auto told = _told.lock();
    if (!*told) *told = now;
  }
  return now->containers;
}

std::optional<std::string> PublishedContainers::containerAtPath(const std::string& path) {
  const ParsedPtr now = current();
  const auto found = now->identifiersByPath.find(path);
  if (found == now->identifiersByPath.end()) return std::nullopt;
  return found->second;
}

void PublishedContainers::fileDidChange() {
  const ParsedPtr now = current();
  {
    const auto told = _told.lock();
    if (!*told || (*told)->text == now->text) return;
    *told = now;
  }
  NSNotificationCenter::defaultCenter().postNotification(GVContainerListDidChangeNotification);
}

}  // namespace tessera
