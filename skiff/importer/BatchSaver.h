#pragma once

#include <cstddef>
#include <cstdint>
#include <future>
#include <string>
#include <vector>

#include "cloud/CloudAssets.h"
#include "cloud/CloudDatabase.h"
#include "cloud/DocumentRecord.h"
#include "skiff/importer/ImportReport.h"

namespace tessera {

// Records that are saved together, with few flushes for all their assets.
struct ImportBatch {
  // A document that the cloud has already, with its new content.
  struct Update {
    DocumentRecord document;
    std::string path;  // of the file, for the report
  };

  std::vector<DocumentRecord> created;  // folders before what is in them
  std::vector<Update> updates;

  [[nodiscard]] std::size_t size() const { return created.size() + updates.size(); }
};

// Saves batches, one at a time and in order, while the next one is being read: the disk is
// flushed by one thread while the other reads and hashes (measured on two cores for 6,000
// documents: see bench/ImportBench.cc).
//
// A document that somebody else changes at the same time is read again and saved once more,
// then left out; the rest of its batch is saved all the same.
// Threads: one at a time; it runs one of its own while a batch is under way, which ends
// before the object does. Lifetime: must not outlive what it is given.
class BatchSaver {
 public:
  BatchSaver(CloudDatabase& database, CloudAssets& assets) : _database(database), _assets(assets) {}
  ~BatchSaver();
  BatchSaver(const BatchSaver&) = delete;
  BatchSaver& operator=(const BatchSaver&) = delete;

  // Waits for the batch before, then begins this one. Throws what the batch before failed
  // with; this one is not begun then.
  void save(ImportBatch batch, ImportReport& report);
  // Waits for the last batch and adds what it did to `report`. Throws as save() does.
  void finish(ImportReport& report);

 private:
  [[nodiscard]] ImportReport saveNow(const ImportBatch& batch);
  void commitAssets(const ImportBatch& batch);
  bool trySave(const std::vector<Record>& records);
  void saveAfterConflict(const ImportBatch::Update& update, ImportReport& report);

  CloudDatabase& _database;
  CloudAssets& _assets;
  std::future<ImportReport> _underWay;  // its destruction waits
};

}  // namespace tessera
