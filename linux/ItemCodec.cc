#include "linux/ItemCodec.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "linux/WireText.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

constexpr unsigned kMaxTags = 1000;

NSDate dateOf(std::int64_t nanoseconds) {
  return NSDate(std::chrono::nanoseconds(nanoseconds));
}

// What may stand in a folder. Only the root may go without a name.
bool isName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return false;
  return name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos;
}

GVQueryItemPtr refuse(const char* why, wire::Item::Reader wire) {
  gvc_default_log().error("[ERROR] the daemon sent a record with %s; left out: %@ '%@'", why,
                          textOf(wire.getFileObjectId()), textOf(wire.getFilename()));
  return nullptr;
}

void decodeDetails(wire::Item::Reader wire, GVItemFields& fields) {
  fields.contentType = viewOf(wire.getContentType());
  fields.versionIdentifier = viewOf(wire.getVersionIdentifier());
  if (fields.isFolder) {
    fields.childItemCount = wire.getChildItemCount();
  } else {
    fields.documentSize = wire.getDocumentSize();
  }
  fields.creationDate = dateOf(wire.getCreated());
  fields.contentModificationDate = dateOf(wire.getModified());
  if (wire.getHasLastUsed()) fields.lastUsedDate = dateOf(wire.getLastUsed());
  if (wire.getHasFavoriteRank()) fields.favoriteRank = wire.getFavoriteRank();
  const auto tags = wire.getTags();
  const unsigned count = std::min(tags.size(), kMaxTags);
  fields.tagNames.reserve(count);
  for (unsigned i = 0; i < count; ++i) fields.tagNames.emplace_back(viewOf(tags[i]));
  fields.isDownloaded = wire.getIsDownloaded();
  fields.isMostRecentVersionDownloaded = wire.getIsCurrent();
  fields.isUploaded = wire.getIsUploaded();
  fields.isTrashed = wire.getIsTrashed();
  fields.isShared = wire.getIsShared();
}

template <class List>
unsigned usableCount(const List& list) {
  if (list.size() > kMaxWireItems) {
    gvc_default_log().error("[ERROR] the daemon sent a list of %lu entries; read the first %lu",
                            static_cast<unsigned long>(list.size()),
                            static_cast<unsigned long>(kMaxWireItems));
  }
  return std::min<unsigned>(list.size(), kMaxWireItems);
}

}  // namespace

GVQueryItemPtr decodeItem(wire::Item::Reader wire) {
  const auto identifier = GVFileObjectID::fileObjectIDWithString(viewOf(wire.getFileObjectId()));
  if (!identifier) return refuse("an invalid identifier", wire);
  GVItemFields fields(*identifier);
  fields.isDead = wire.getIsDead();
  if (fields.isDead) return std::make_shared<const GVQueryItem>(std::move(fields));
  fields.isRoot = wire.getIsRoot();
  fields.parentIsRoot = wire.getParentIsRoot();
  fields.isFolder = wire.getIsFolder();
  fields.filename = viewOf(wire.getFilename());
  if (!isName(fields.filename) && !(fields.isRoot && fields.filename.empty())) {
    return refuse("an invalid name", wire);
  }
  const std::string_view parent = viewOf(wire.getParentFileObjectId());
  fields.parentFileObjectID = GVFileObjectID::fileObjectIDWithString(parent);
  if (!parent.empty() && !fields.parentFileObjectID) return refuse("an invalid parent", wire);
  decodeDetails(wire, fields);
  return std::make_shared<const GVQueryItem>(std::move(fields));
}

GVQueryItems decodeItems(capnp::List<wire::Item>::Reader wire) {
  const unsigned count = usableCount(wire);
  GVQueryItems items;
  items.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    if (auto item = decodeItem(wire[i])) items.push_back(std::move(item));
  }
  return items;
}

std::vector<GVFileObjectID> decodeIdentifiers(capnp::List<capnp::Text>::Reader wire) {
  const unsigned count = usableCount(wire);
  std::vector<GVFileObjectID> identifiers;
  identifiers.reserve(count);
  for (unsigned i = 0; i < count; ++i) {
    const auto identifier = GVFileObjectID::fileObjectIDWithString(viewOf(wire[i]));
    if (identifier) {
      identifiers.push_back(*identifier);
    } else {
      gvc_default_log().error("[ERROR] the daemon sent an invalid identifier; left out: %@",
                              textOf(wire[i]));
    }
  }
  return identifiers;
}

void encodeProviderItem(const NSFileProviderItem& item, wire::ProviderItem::Builder wire) {
  wire.setIdentifier(item.itemIdentifier());
  wire.setParentIdentifier(item.parentItemIdentifier());
  wire.setFilename(item.filename());
  wire.setContentType(item.contentType());
  wire.setVersionIdentifier(item.versionIdentifier());
  const auto put = [](const auto& value, auto set, auto setHas) {
    if (!value) return;
    set(*value);
    setHas(true);
  };
  const auto putDate = [](const std::optional<NSDate>& date, auto set, auto setHas) {
    if (!date) return;
    set(date->time_since_epoch().count());
    setHas(true);
  };
  put(
      item.documentSize(), [&](auto v) { wire.setDocumentSize(v); },
      [&](bool has) { wire.setHasDocumentSize(has); });
  put(
      item.childItemCount(), [&](auto v) { wire.setChildItemCount(v); },
      [&](bool has) { wire.setHasChildItemCount(has); });
  put(
      item.favoriteRank(), [&](auto v) { wire.setFavoriteRank(v); },
      [&](bool has) { wire.setHasFavoriteRank(has); });
  putDate(
      item.creationDate(), [&](auto v) { wire.setCreated(v); },
      [&](bool has) { wire.setHasCreated(has); });
  putDate(
      item.contentModificationDate(), [&](auto v) { wire.setModified(v); },
      [&](bool has) { wire.setHasModified(has); });
  putDate(
      item.lastUsedDate(), [&](auto v) { wire.setLastUsed(v); },
      [&](bool has) { wire.setHasLastUsed(has); });
  const auto& tags = item.tagNames();
  auto wireTags = wire.initTags(static_cast<unsigned>(tags.size()));
  for (unsigned i = 0; i < tags.size(); ++i) wireTags.set(i, tags[i]);
  wire.setIsDownloaded(item.isDownloaded());
  wire.setIsCurrent(item.isMostRecentVersionDownloaded());
  wire.setIsUploaded(item.isUploaded());
  wire.setIsTrashed(item.isTrashed());
  wire.setIsShared(item.isShared());
}

void encodeProviderItems(const NSFileProviderItems& items,
                         capnp::List<wire::ProviderItem>::Builder wire) {
  for (unsigned i = 0; i < items.size(); ++i) encodeProviderItem(*items[i], wire[i]);
}

}  // namespace tessera
