#include "cloud/embedded/RecordBatch.h"

#include <chrono>
#include <utility>

#include "cloud/CloudError.h"
#include "cloud/embedded/RecordFields.h"

namespace tessera {

namespace {

std::int64_t nanosecondsNow() {
  auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

}  // namespace

RecordBatch::RecordBatch(const std::vector<Record>& saves, const std::vector<RecordID>& deletions,
                         SavePolicy policy)
    : _saves(saves), _deletions(deletions), _policy(policy) {
  _fields.reserve(saves.size());
  for (const Record& record : saves) _fields.push_back(encodeFields(record.fields));
}

std::vector<Record> RecordBatch::apply(RecordTable& table) {
  std::int64_t sequence = table.reach().latest;
  const std::int64_t now = nanosecondsNow();
  std::vector<Record> saved;
  saved.reserve(_saves.size());
  for (std::size_t index = 0; index < _saves.size(); ++index) {
    Record record = _saves[index];
    std::int64_t zone = zoneOf(table, record.id.zone.container);
    auto stored = table.stored(zone, record.id.name);
    if (_policy == SavePolicy::IfUnchanged) checkUnchanged(record, stored);
    // A record that comes back after its deletion goes on counting.
    record.version = stored ? static_cast<std::uint64_t>(stored->version) + 1 : 1;
    record.modifiedAt = now;
    table.write(zone, record, ++sequence, _fields[index], stored);
    record.changeTag = std::to_string(sequence);
    saved.push_back(std::move(record));
  }
  for (const RecordID& id : _deletions) {
    auto zone = table.zone(id.zone.container);
    if (!zone) continue;
    auto stored = table.stored(*zone, id.name);
    if (stored && !stored->deleted) table.bury(*stored, ++sequence, now);
  }
  table.setLatest(sequence);
  return saved;
}

std::int64_t RecordBatch::zoneOf(RecordTable& table, const std::string& container) {
  if (auto found = _zones.find(container); found != _zones.end()) return found->second;
  std::int64_t zone = table.makeZone(container);
  _zones.emplace(container, zone);
  return zone;
}

void RecordBatch::checkUnchanged(const Record& record,
                                 const std::optional<RecordTable::Stored>& stored) const {
  bool exists = stored && !stored->deleted;
  std::string current = exists ? std::to_string(stored->sequence) : std::string();
  if (record.changeTag == current) return;
  std::string what = !exists                    ? " has been deleted meanwhile."
                     : record.changeTag.empty() ? " exists already."
                                                : " has been changed meanwhile.";
  throw CloudError(CloudError::Code::RecordChanged, "The record " + record.id.name + what);
}

}  // namespace tessera
