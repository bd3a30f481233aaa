#include "skiff/importer/ExistingItems.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "cloud/CloudError.h"

namespace tessera {

namespace {

constexpr std::size_t kPage = 1000;  // records

std::uint64_t placeOf(const std::string& parent, const std::string& name) {
  // Neither part can hold a NUL.
  return std::hash<std::string>()(parent + '\0' + name);
}

// The document behind a record; nullopt when it is something else.
std::optional<DocumentRecord> documentOf(const Record& record) {
  try {
    return DocumentRecord::fromRecord(record);
  } catch (const CloudError& error) {
    if (error.code() == CloudError::Code::Corrupt) return std::nullopt;
    throw;
  }
}

}  // namespace

ExistingItems::ExistingItems(CloudDatabase& database, ZoneID zone, const std::stop_token& stop)
    : _database(database), _zone(std::move(zone)) {
  auto zones = database.zones();
  if (std::find(zones.begin(), zones.end(), _zone) == zones.end()) return;
  readZone(stop);
  std::sort(_entries.begin(), _entries.end(), [this](const Entry& one, const Entry& other) {
    return one.place != other.place ? one.place < other.place : recordName(one) < recordName(other);
  });
}

void ExistingItems::readZone(const std::stop_token& stop) {
  ChangePage page;
  do {
    page = _database.changes(page.token, kPage);
    for (const Record& record : page.changed) {
      if (record.id.zone == _zone) add(record);
    }
  } while (page.moreComing && !stop.stop_requested());
}

// A record that changed while the feed was read comes twice, and a deleted one may have come
// before: find() looks at each again, so that what is outdated here does no harm.
void ExistingItems::add(const Record& record) {
  auto document = documentOf(record);
  if (!document) return;
  _entries.push_back({placeOf(document->parent, document->name), _recordNames.size(),
                      static_cast<std::uint32_t>(record.id.name.size())});
  _recordNames += record.id.name;
}

std::string ExistingItems::recordName(const Entry& entry) const {
  return _recordNames.substr(entry.offset, entry.length);
}

std::optional<DocumentRecord> ExistingItems::find(const std::string& parent,
                                                  const std::string& name) const {
  std::uint64_t place = placeOf(parent, name);
  auto entry =
      std::lower_bound(_entries.begin(), _entries.end(), place,
                       [](const Entry& one, std::uint64_t wanted) { return one.place < wanted; });
  for (; entry != _entries.end() && entry->place == place; ++entry) {
    auto record = _database.record({_zone, recordName(*entry)});
    if (!record) continue;
    auto document = documentOf(*record);
    if (document && document->parent == parent && document->name == name) return document;
  }
  return std::nullopt;
}

}  // namespace tessera
