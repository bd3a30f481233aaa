#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"
#include "skiff/importer/CloudImporter.h"

namespace tessera {

// A folder for temporary files that everybody may enter; goes away with this object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return _path; }

 private:
  std::filesystem::path _path;
};

// Passes everything on, and says so before it does. What a handler throws, the caller gets.
class ObservedAssets final : public CloudAssets {
 public:
  explicit ObservedAssets(std::shared_ptr<CloudAssets> real) : _real(std::move(real)) {}

  std::function<void()> beforePut;
  std::function<void()> beforeUpload;
  std::function<void()> beforeWrite;  // of a block of an upload
  std::function<void()> beforeCommit;

  std::unique_ptr<AssetUpload> upload() override;
  Asset put(std::span<const std::byte> bytes) override;
  void commit(const std::vector<Asset>& assets) override;
  std::unique_ptr<AssetDownload> download(const Asset& asset, std::uint64_t offset) override;

 private:
  std::shared_ptr<CloudAssets> _real;
};

class ObservedDatabase final : public CloudDatabase {
 public:
  explicit ObservedDatabase(std::shared_ptr<CloudDatabase> real) : _real(std::move(real)) {}

  std::function<void(const std::vector<Record>&)> beforeModify;

  std::vector<ZoneID> zones() override { return _real->zones(); }
  std::optional<Record> record(const RecordID& id) override { return _real->record(id); }
  std::vector<Record> records(const std::vector<RecordID>& ids) override {
    return _real->records(ids);
  }
  std::vector<Record> modify(const std::vector<Record>& saves,
                             const std::vector<RecordID>& deletions, SavePolicy policy) override;
  ChangePage changes(const ChangeToken& since, std::size_t limit) override {
    return _real->changes(since, limit);
  }
  void waitForChanges(const ChangeToken& since, std::chrono::milliseconds timeout,
                      std::stop_token stop) override {
    _real->waitForChanges(since, timeout, stop);
  }

 private:
  std::shared_ptr<CloudDatabase> _real;
};

// A folder to import and a real cloud to import it into.
class ImportScene {
 public:
  ImportScene();

  // Paths are relative to the source folder; folders on the way are made.
  std::filesystem::path file(const std::string& path, std::string_view content) const;
  std::filesystem::path folder(const std::string& path) const;
  [[nodiscard]] const std::filesystem::path& source() const noexcept { return _source.path(); }
  [[nodiscard]] const std::filesystem::path& cloudFolder() const { return _cloudFolder.path(); }

  ImportReport import();

  // What the zone holds, by path. Fails the test when two items share one, or when one
  // stands in no folder.
  [[nodiscard]] std::map<std::string, DocumentRecord> items() const;
  [[nodiscard]] std::vector<std::string> paths() const;
  // The content that the cloud has for an item.
  [[nodiscard]] std::string content(const std::string& path) const;
  [[nodiscard]] std::string content(const Asset& asset) const;
  // Saves an item as another device would.
  DocumentRecord save(DocumentRecord document) const;
  [[nodiscard]] DocumentRecord item(DocumentKind kind, const std::string& parent,
                                    const std::string& name) const;

  const ZoneID zone{"someone", kDefaultContainer};
  std::vector<FileIdentity> excluded;
  CloudImporter::Progress progress;
  std::stop_source stop;

 private:
  ScratchFolder _source;
  ScratchFolder _cloudFolder;
  std::unique_ptr<CloudService> _cloud;

 public:
  std::shared_ptr<CloudDatabase> realDatabase;  // past the observer
  ObservedDatabase database;
  ObservedAssets assets;
};

// The reasons given for a path below the source; empty when it was not left out.
[[nodiscard]] std::string reasonFor(const ImportScene& scene, const ImportReport& report,
                                    const std::string& path);

}  // namespace tessera
