#include "skiff/importer/ImportPass.h"

#include <utility>

#include "cloud/CloudError.h"
#include "skiff/contenttype/ContentType.h"
#include "skiff/importer/RecordName.h"

namespace tessera {

namespace {

// A batch is saved when it has this many records or bytes: enough to share the flushes,
// little enough that a crash or a full disk takes little of the work away.
constexpr std::size_t kBatchRecords = 500;
constexpr std::uint64_t kBatchBytes = std::uint64_t{256} << 20;

}  // namespace

ImportPass::ImportPass(const Cloud& cloud, const ExistingItems& existing, std::filesystem::path top,
                       std::uint64_t total, ProgressHandler progress, std::stop_token stop,
                       ImportReport& report)
    : _zone(cloud.zone),
      _existing(existing),
      _top(std::move(top)),
      _progress(std::move(progress)),
      _report(report),
      _levels{{"", kDocumentsFolderRecord}},
      _done{0, 0, total},
      _reader(cloud.assets, std::move(stop),
              [this](std::uint64_t bytes) { reportProgress(bytes); }),
      _saver(cloud.database, cloud.assets) {}

bool ImportPass::enterFolder(const SourceFolder& folder, const std::string& name) {
  auto existing = _existing.find(_levels.back().recordName, name);
  if (existing && existing->kind != DocumentKind::Folder) {
    leaveOut(name, "The cloud has a document of this name, which a folder cannot replace");
    return false;
  }
  if (existing) {
    _levels.push_back({name, existing->id.name});
    return true;
  }
  DocumentRecord document = newDocument(DocumentKind::Folder, name, folder.facts());
  _levels.push_back({name, document.id.name});
  _batch.created.push_back(std::move(document));
  saveFullBatch();
  return true;
}

void ImportPass::leaveFolder() {
  _levels.pop_back();
}

void ImportPass::visitFile(int folder, const std::string& name) {
  importFile(folder, name);
  ++_done.documents;
  reportProgress(0);
}

void ImportPass::leaveOut(const std::string& name, const std::string& reason) {
  _report.leaveOut(pathOf(name), reason);
}

void ImportPass::finish() {
  _saver.save(std::exchange(_batch, {}), _report);
  _saver.finish(_report);
}

void ImportPass::abandon() noexcept {
  try {
    _saver.finish(_report);
  } catch (const std::exception&) {
    // The failure that led here is the one to be told.
  }
}

std::string ImportPass::pathOf(const std::string& name) const {
  std::filesystem::path path = _top;
  for (const Level& level : _levels) {
    if (!level.name.empty()) path /= level.name;
  }
  return (path / name).string();
}

DocumentRecord ImportPass::newDocument(DocumentKind kind, const std::string& name,
                                       const SourceFacts& facts) const {
  DocumentRecord document;
  document.id = {_zone, newRecordName()};
  document.kind = kind;
  document.parent = _levels.back().recordName;
  document.name = name;
  document.createdAt = facts.createdAt;
  document.modifiedAt = facts.modifiedAt;
  return document;
}

void ImportPass::importFile(int folder, const std::string& name) {
  auto existing = _existing.find(_levels.back().recordName, name);
  if (existing && existing->kind != DocumentKind::Document) {
    leaveOut(name, existing->kind == DocumentKind::Folder
                       ? "The cloud has a folder of this name, which a file cannot replace"
                       : "The cloud has a reference of this name, which a file cannot replace");
    return;
  }
  ReadOutcome outcome =
      _reader.read(folder, name, existing ? existing->content : std::optional<Asset>());
  if (outcome.document) {
    _done.bytes += outcome.document->facts.size;
    keep(name, *outcome.document, existing);
  } else if (!outcome.reason.empty()) {
    leaveOut(name, outcome.reason);
  }
}

void ImportPass::keep(const std::string& name, const ReadDocument& read,
                      const std::optional<DocumentRecord>& existing) {
  if (existing && existing->content == read.content) {
    ++_report.unchanged;
    return;
  }
  DocumentRecord document =
      existing ? *existing : newDocument(DocumentKind::Document, name, read.facts);
  document.modifiedAt = read.facts.modifiedAt;
  document.content = read.content;
  document.executable = read.facts.isExecutable();
  document.contentType = contentTypeForName(name);
  _batchBytes += read.content.size;
  if (existing) {
    _batch.updates.push_back({std::move(document), pathOf(name)});
  } else {
    _batch.created.push_back(std::move(document));
  }
  saveFullBatch();
}

void ImportPass::saveFullBatch() {
  if (_batch.size() < kBatchRecords && _batchBytes < kBatchBytes) return;
  _batchBytes = 0;
  _saver.save(std::exchange(_batch, {}), _report);
}

void ImportPass::reportProgress(std::uint64_t bytesUnderWay) {
  if (!_progress) return;
  ImportProgress now = _done;
  now.bytes += bytesUnderWay;
  _progress(now);
}

}  // namespace tessera
