#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "skiff/importer/BatchSaver.h"
#include "skiff/importer/DocumentReader.h"
#include "skiff/importer/ExistingItems.h"
#include "skiff/importer/ImportReport.h"
#include "skiff/importer/SourceWalk.h"

namespace tessera {

// Turns what a walk comes across into records of one zone and has them saved.
//
// Invariant: a folder's record is in an earlier batch than those of its entries, or before
// them in the same one.
// Threads: one. Lifetime: must not outlive what it is given.
class ImportPass final : public SourceVisitor {
 public:
  using ProgressHandler = std::function<void(const ImportProgress&)>;

  struct Cloud {
    CloudDatabase& database;
    CloudAssets& assets;
    ZoneID zone;
  };

  // `total` is the number of documents that progress is reported against. Everything done
  // is added to `report`.
  ImportPass(const Cloud& cloud, const ExistingItems& existing, std::filesystem::path top,
             std::uint64_t total, ProgressHandler progress, std::stop_token stop,
             ImportReport& report);

  bool enterFolder(const SourceFolder& folder, const std::string& name) override;
  void leaveFolder() override;
  void visitFile(int folder, const std::string& name) override;
  void leaveOut(const std::string& name, const std::string& reason) override;

  // Saves what is left and waits for it.
  void finish();
  // Waits for what is under way, drops the rest. Whether it succeeded does not matter.
  void abandon() noexcept;

 private:
  // A folder between the top and where the walk is.
  struct Level {
    std::string name;  // empty at the top
    std::string recordName;
  };

  [[nodiscard]] std::string pathOf(const std::string& name) const;
  [[nodiscard]] DocumentRecord newDocument(DocumentKind kind, const std::string& name,
                                           const SourceFacts& facts) const;
  void importFile(int folder, const std::string& name);
  void keep(const std::string& name, const ReadDocument& read,
            const std::optional<DocumentRecord>& existing);
  void saveFullBatch();
  void reportProgress(std::uint64_t bytesUnderWay);

  const ZoneID _zone;
  const ExistingItems& _existing;
  const std::filesystem::path _top;
  const ProgressHandler _progress;
  ImportReport& _report;

  std::vector<Level> _levels;
  ImportProgress _done;
  std::uint64_t _batchBytes = 0;
  ImportBatch _batch;
  DocumentReader _reader;
  BatchSaver _saver;
};

}  // namespace tessera
