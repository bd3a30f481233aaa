#include "cli/ItemJson.h"

#include <array>
#include <ctime>

#include <fmt/format.h>

#include "cli/Escape.h"

namespace tessera {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;

std::tm utc(std::int64_t nanoseconds) {
  // Rounds down also before the epoch.
  std::time_t seconds = nanoseconds / kNanosecondsPerSecond;
  if (nanoseconds % kNanosecondsPerSecond < 0) --seconds;
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  return parts;
}

}  // namespace

bool isFolder(wire::ProviderItem::Reader item) {
  return item.getContentType() == "inode/directory";
}

std::string rfc3339(std::int64_t nanoseconds) {
  const std::tm parts = utc(nanoseconds);
  std::string text =
      fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
  std::int64_t fraction = nanoseconds % kNanosecondsPerSecond;
  if (fraction < 0) fraction += kNanosecondsPerSecond;
  if (fraction != 0) {
    std::string digits = fmt::format(".{:09}", fraction);
    digits.erase(digits.find_last_not_of('0') + 1);
    text += digits;
  }
  return text + "Z";
}

std::string humanSize(std::uint64_t bytes) {
  constexpr std::array<const char*, 6> kUnits = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  if (bytes < 1024) return std::to_string(bytes);
  double value = static_cast<double>(bytes) / 1024;
  std::size_t unit = 0;
  while (value >= 1023.95 && unit + 1 < kUnits.size()) {
    value /= 1024;
    ++unit;
  }
  return fmt::format("{:.1f} {}", value, kUnits[unit]);
}

std::string childPath(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

Json itemJson(wire::ProviderItem::Reader item, const std::string& path) {
  Json json = {{"identifier", item.getIdentifier().cStr()},
               {"parentIdentifier", item.getParentIdentifier().cStr()},
               {"name", item.getFilename().cStr()},
               {"path", path},
               {"kind", isFolder(item) ? "folder" : "document"},
               {"contentType", item.getContentType().cStr()}};
  if (item.getHasDocumentSize()) json["size"] = item.getDocumentSize();
  if (item.getHasChildItemCount()) json["children"] = item.getChildItemCount();
  if (item.getHasCreated()) json["created"] = rfc3339(item.getCreated());
  if (item.getHasModified()) json["modified"] = rfc3339(item.getModified());
  if (item.getHasLastUsed()) json["lastUsed"] = rfc3339(item.getLastUsed());
  if (item.getHasFavoriteRank()) json["favoriteRank"] = item.getFavoriteRank();
  json["version"] = item.getVersionIdentifier().cStr();
  json["downloaded"] = item.getIsDownloaded();
  json["current"] = item.getIsCurrent();
  json["uploaded"] = item.getIsUploaded();
  json["trashed"] = item.getIsTrashed();
  json["shared"] = item.getIsShared();
  Json tags = Json::array();
  for (const auto tag : item.getTags()) tags.push_back(tag.cStr());
  json["tags"] = tags;
  return json;
}

std::string itemRow(wire::ProviderItem::Reader item) {
  const bool folder = isFolder(item);
  std::string date;
  if (item.getHasModified()) {
    const std::tm parts = utc(item.getModified());
    date = fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", parts.tm_year + 1900, parts.tm_mon + 1,
                       parts.tm_mday, parts.tm_hour, parts.tm_min);
  }
  const char* mark = "cloud";
  if (folder)
    mark = "";
  else if (item.getIsDownloaded())
    mark = "here";
  const std::string size = folder ? fmt::format("{} items", item.getChildItemCount())
                                  : humanSize(item.getDocumentSize());
  return fmt::format("{:5}  {:>12}  {:16}  {}{}", mark, size, date,
                     escaped(item.getFilename().cStr()), folder ? "/" : "");
}

}  // namespace tessera
