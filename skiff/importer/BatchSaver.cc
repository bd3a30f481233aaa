#include "skiff/importer/BatchSaver.h"

#include <utility>

#include "cloud/CloudError.h"
#include "skiff/importer/RecordName.h"

namespace tessera {

namespace {

void count(const DocumentRecord& document, ImportReport& report) {
  if (document.kind == DocumentKind::Folder) {
    ++report.folders;
    return;
  }
  ++report.documents;
  if (document.content) report.bytes += document.content->size;
}

void addTo(ImportReport& report, ImportReport&& batch) {
  report.folders += batch.folders;
  report.documents += batch.documents;
  report.bytes += batch.bytes;
  report.unchanged += batch.unchanged;
  for (auto& problem : batch.leftOut) {
    report.leaveOut(std::move(problem.path), std::move(problem.reason));
  }
}

}  // namespace

BatchSaver::~BatchSaver() {
  if (_underWay.valid()) _underWay.wait();
}

void BatchSaver::save(ImportBatch batch, ImportReport& report) {
  finish(report);
  if (batch.size() == 0) return;
  _underWay =
      std::async(std::launch::async, [this, batch = std::move(batch)] { return saveNow(batch); });
}

void BatchSaver::finish(ImportReport& report) {
  if (_underWay.valid()) addTo(report, _underWay.get());
}

ImportReport BatchSaver::saveNow(const ImportBatch& batch) {
  commitAssets(batch);
  std::vector<Record> created;
  created.reserve(batch.size());
  for (const auto& document : batch.created) created.push_back(document.toRecord());
  std::vector<Record> all = created;
  for (const auto& update : batch.updates) all.push_back(update.document.toRecord());

  ImportReport report;
  if (trySave(all)) {
    for (const auto& update : batch.updates) count(update.document, report);
  } else {
    // Somebody changed one of the updates' records; new ones cannot be in anybody's way.
    if (!created.empty()) _database.modify(created, {}, SavePolicy::IfUnchanged);
    for (const auto& update : batch.updates) saveAfterConflict(update, report);
  }
  for (const auto& document : batch.created) count(document, report);
  return report;
}

void BatchSaver::commitAssets(const ImportBatch& batch) {
  std::vector<Asset> assets;
  assets.reserve(batch.size());
  for (const auto& document : batch.created) {
    if (document.content) assets.push_back(*document.content);
  }
  for (const auto& update : batch.updates) {
    if (update.document.content) assets.push_back(*update.document.content);
  }
  if (!assets.empty()) _assets.commit(assets);
}

// Returns false when one of the records is no longer what it was, and saves none then.
bool BatchSaver::trySave(const std::vector<Record>& records) {
  try {
    _database.modify(records, {}, SavePolicy::IfUnchanged);
    return true;
  } catch (const CloudError& error) {
    if (error.code() == CloudError::Code::RecordChanged ||
        error.code() == CloudError::Code::NoSuchRecord) {
      return false;
    }
    throw;
  }
}

void BatchSaver::saveAfterConflict(const ImportBatch::Update& update, ImportReport& report) {
  const DocumentRecord& ours = update.document;
  DocumentRecord document = ours;
  auto record = _database.record(ours.id);
  std::optional<DocumentRecord> theirs;
  if (record) theirs = DocumentRecord::fromRecord(*record);
  if (theirs && theirs->parent == ours.parent && theirs->name == ours.name) {
    if (theirs->content == ours.content) {
      ++report.unchanged;
      return;
    }
    document = *theirs;  // with what they changed besides the content
    document.content = ours.content;
    document.modifiedAt = ours.modifiedAt;
    document.executable = ours.executable;
    document.contentType = ours.contentType;
  } else {
    // Deleted, moved or renamed: the place is free.
    document.id.name = newRecordName();
    document.changeTag.clear();
    document.version = 0;
  }
  if (trySave({document.toRecord()})) {
    count(document, report);
  } else {
    report.leaveOut(update.path, "The cloud's document of this name changes at the same time");
  }
}

}  // namespace tessera
