#include "ImportScene.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <array>
#include <fstream>
#include <utility>

namespace tessera {

namespace fs = std::filesystem;

namespace {

class ObservedUpload final : public AssetUpload {
 public:
  ObservedUpload(std::unique_ptr<AssetUpload> real, const std::function<void()>& beforeWrite)
      : _real(std::move(real)), _beforeWrite(beforeWrite) {}

  void write(std::span<const std::byte> bytes) override {
    if (_beforeWrite) _beforeWrite();
    _real->write(bytes);
  }
  Asset finish() override { return _real->finish(); }

 private:
  std::unique_ptr<AssetUpload> _real;
  const std::function<void()>& _beforeWrite;
};

std::unique_ptr<CloudService> makeCloud(const fs::path& folder) {
  auto cloud = openCloudService(folder.string(), OpenCloud::CreateIfMissing);
  cloud->makeAccount("someone");
  return cloud;
}

}  // namespace

ScratchFolder::ScratchFolder() {
  std::string pattern = (fs::temp_directory_path() / "tessera-import-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  _path = pattern;
  fs::permissions(_path, fs::perms(0755));
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(_path, ignored);
}

std::unique_ptr<AssetUpload> ObservedAssets::upload() {
  if (beforeUpload) beforeUpload();
  return std::make_unique<ObservedUpload>(_real->upload(), beforeWrite);
}

Asset ObservedAssets::put(std::span<const std::byte> bytes) {
  if (beforePut) beforePut();
  return _real->put(bytes);
}

void ObservedAssets::commit(const std::vector<Asset>& assets) {
  if (beforeCommit) beforeCommit();
  _real->commit(assets);
}

std::unique_ptr<AssetDownload> ObservedAssets::download(const Asset& asset, std::uint64_t offset) {
  return _real->download(asset, offset);
}

std::vector<Record> ObservedDatabase::modify(const std::vector<Record>& saves,
                                             const std::vector<RecordID>& deletions,
                                             SavePolicy policy) {
  if (beforeModify) beforeModify(saves);
  return _real->modify(saves, deletions, policy);
}

ImportScene::ImportScene()
    : _cloud(makeCloud(_cloudFolder.path())),
      realDatabase(_cloud->privateDatabase("someone")),
      database(realDatabase),
      assets(_cloud->assets()) {}

fs::path ImportScene::file(const std::string& path, std::string_view content) const {
  fs::path whole = source() / path;
  fs::create_directories(whole.parent_path());
  std::ofstream stream(whole, std::ios::binary);
  stream << content;
  stream.close();
  if (!stream) throw std::runtime_error("Cannot write " + whole.string());
  return whole;
}

fs::path ImportScene::folder(const std::string& path) const {
  fs::create_directories(source() / path);
  return source() / path;
}

ImportReport ImportScene::import() {
  return CloudImporter(database, assets, zone, excluded)
      .importFolder(source(), progress, stop.get_token());
}

std::map<std::string, DocumentRecord> ImportScene::items() const {
  std::map<std::string, DocumentRecord> byName;
  ChangePage page;
  do {
    page = realDatabase->changes(page.token, 1000);
    for (const Record& record : page.changed) {
      if (record.id.zone == zone) byName[record.id.name] = DocumentRecord::fromRecord(record);
    }
  } while (page.moreComing);

  std::map<std::string, DocumentRecord> byPath;
  for (const auto& [recordName, document] : byName) {
    std::string path = document.name;
    std::string parent = document.parent;
    while (parent != kDocumentsFolderRecord) {
      auto folder = byName.find(parent);
      if (folder == byName.end() || folder->second.kind != DocumentKind::Folder) {
        ADD_FAILURE() << path << " stands in no folder";
        break;
      }
      path = folder->second.name + "/" + path;
      parent = folder->second.parent;
    }
    EXPECT_TRUE(byPath.emplace(path, document).second) << path << " is there twice";
  }
  return byPath;
}

std::vector<std::string> ImportScene::paths() const {
  std::vector<std::string> paths;
  for (const auto& [path, document] : items()) paths.push_back(path);
  return paths;
}

std::string ImportScene::content(const std::string& path) const {
  auto found = items();
  return content(found.at(path).content.value());
}

std::string ImportScene::content(const Asset& asset) const {
  auto download = _cloud->assets()->download(asset, 0);
  std::string whole;
  std::array<std::byte, 65536> block;
  while (std::size_t size = download->read(block)) {
    whole.append(reinterpret_cast<const char*>(block.data()), size);
  }
  return whole;
}

DocumentRecord ImportScene::save(DocumentRecord document) const {
  auto saved = realDatabase->modify({document.toRecord()}, {}, SavePolicy::Overwrite);
  return DocumentRecord::fromRecord(saved.at(0));
}

DocumentRecord ImportScene::item(DocumentKind kind, const std::string& parent,
                                 const std::string& name) const {
  DocumentRecord document;
  document.id = {zone, "record-of-" + name};
  document.kind = kind;
  document.parent = parent;
  document.name = name;
  if (kind == DocumentKind::Reference) document.target = RecordID{zone, "elsewhere"};
  return document;
}

std::string reasonFor(const ImportScene& scene, const ImportReport& report,
                      const std::string& path) {
  std::string reasons;
  for (const auto& problem : report.leftOut) {
    if (problem.path == scene.source().string() + "/" + path) reasons += problem.reason;
  }
  return reasons;
}

}  // namespace tessera
