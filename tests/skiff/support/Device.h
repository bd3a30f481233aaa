#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"
#include "home/Home.h"
#include "skiff/feed/ContainerList.h"
#include "skiff/feed/FeedCursor.h"
#include "skiff/feed/SingleRecord.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/store/PromiseName.h"
#include "skiff/transfer/Hydrator.h"
#include "skiff/tree/SyncedTree.h"
#include "skiff/tree/TreeRecovery.h"

namespace tessera {

// A cloud with the account "ann", as another device sees it, in a folder that goes away.
class SharedCloud {
 public:
  SharedCloud() {
    std::string pattern = (std::filesystem::temp_directory_path() / "device-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    folder = pattern;
    service = openCloudService(folder / "cloud", OpenCloud::CreateIfMissing);
    account = service->makeAccount("ann");
    database = service->privateDatabase("ann");
    assets = service->assets();
  }
  ~SharedCloud() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  SharedCloud(const SharedCloud&) = delete;
  SharedCloud& operator=(const SharedCloud&) = delete;

  Asset upload(const std::string& content) {
    Asset asset = assets->put(std::as_bytes(std::span(content)));
    assets->commit({asset});
    return asset;
  }
  static DocumentRecord folderRecord(const std::string& name,
                                     const std::string& parent = kDocumentsFolderRecord) {
    DocumentRecord record;
    record.id = {ZoneID{"ann", kDefaultContainer}, ItemID::random().toString()};
    record.kind = DocumentKind::Folder;
    record.parent = parent;
    record.name = name;
    record.createdAt = 1'600'000'000'000'000'000;
    record.modifiedAt = 1'650'000'000'000'000'000;
    return record;
  }
  DocumentRecord documentRecord(const std::string& name, const std::string& content,
                                const std::string& parent = kDocumentsFolderRecord) {
    DocumentRecord record = folderRecord(name, parent);
    record.kind = DocumentKind::Document;
    record.content = upload(content);
    return record;
  }
  DocumentRecord save(const DocumentRecord& record) {
    return DocumentRecord::fromRecord(
        database->modify({record.toRecord()}, {}, SavePolicy::Overwrite).front());
  }
  void saveAll(const std::vector<DocumentRecord>& records) {
    std::vector<Record> raw;
    for (const DocumentRecord& record : records) raw.push_back(record.toRecord());
    database->modify(raw, {}, SavePolicy::Overwrite);
  }
  void erase(const std::vector<DocumentRecord>& records) {
    std::vector<RecordID> ids;
    for (const DocumentRecord& record : records) ids.push_back(record.id);
    database->modify({}, ids, SavePolicy::Overwrite);
  }

  std::filesystem::path folder;
  std::unique_ptr<CloudService> service;
  CloudAccount account;
  std::shared_ptr<CloudDatabase> database;
  std::shared_ptr<CloudAssets> assets;
};

// A device of that cloud without its service: store, tree, feed and transfers.
class Device : public ContentSource, public HydrationObserver {
 public:
  explicit Device(SharedCloud& shared, const std::string& name = "home")
      : cloud(shared), home(Home::at(shared.folder / name)) {
    home.create();
    open();
  }

  // As after a start of the daemon.
  void open() {
    cursor.reset();
    containers.reset();
    tree.reset();
    store.reset();
    store = std::make_unique<ItemStore>(home.itemStore());
    tree = std::make_unique<SyncedTree>(home.tree());
    recoverTree(*store, *tree);
    containers = std::make_unique<ContainerList>(*store, *tree, home);
    containers->bringUpToDate(*cloud.service, cloud.account.identifier);
    cursor = std::make_unique<FeedCursor>(*store, *tree, problems, "ann");
  }
  void catchUp() { cursor->catchUp(*cloud.database, std::stop_token()); }
  void fetch(const DocumentRecord& record, bool current = false) {
    Hydrator(*store, *tree, *this, problems)
        .hydrate(idOf(record), current, *this, _stop.get_token());
  }

  std::unique_ptr<AssetDownload> open(const Asset& asset) override {
    ++opened;
    return cloud.assets->download(asset, 0);
  }
  void refresh(const StoredItem& item) override {
    auto record = cloud.database->record({ZoneID{"ann", kDefaultContainer}, item.recordName});
    if (record) applySingleRecord(*record, item.container, *store, *tree, problems);
  }
  void reached(HydrationStage stage) override {
    if (onStage) onStage(stage);
  }
  void progressed(std::uint64_t, std::uint64_t) override {
    if (onProgress) onProgress();
  }
  void cancel() { _stop.request_stop(); }

  static ItemID idOf(const DocumentRecord& record) { return *ItemID::fromString(record.id.name); }
  std::optional<StoredItem> item(const DocumentRecord& record) {
    return store->reader()->find(idOf(record));
  }
  std::optional<StoredItem> itemAt(const std::string& path) {
    return store->reader()->itemAt(path);
  }
  [[nodiscard]] std::filesystem::path at(const std::string& path) const {
    return home.tree() / path;
  }
  [[nodiscard]] std::string content(const std::string& path) const {
    std::ifstream stream(at(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void write(const std::string& path, const std::string& text) const {
    std::ofstream(at(path), std::ios::binary) << text;
  }

  // Every path of the store, a placeholder with '~' behind it, a folder with '/'. Container
  // folders are left out.
  std::set<std::string> items() {
    std::set<std::string> paths;
    auto reader = store->reader();
    auto root = reader->root();
    collect(*reader, root->id, "", paths);
    return paths;
  }
  // The same as the tree on disk shows it: promises count as what they stand for.
  std::set<std::string> onDisk() {
    std::set<std::string> paths;
    auto reader = store->reader();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.tree())) {
      std::string path = std::filesystem::relative(entry.path(), home.tree());
      if (auto uuid = itemOfPromise(entry.path().filename().string())) {
        auto promised = reader->find(*uuid);
        std::filesystem::path folder = std::filesystem::path(path).parent_path();
        paths.insert(promised ? (folder / promised->name).string() + "~" : "stray " + path);
      } else if (entry.is_symlink()) {
        paths.insert(path);
      } else if (entry.is_directory()) {
        if (path != "Desktop" && path != "Documents") paths.insert(path + "/");
      } else {
        paths.insert(path);
      }
    }
    return paths;
  }

  SharedCloud& cloud;
  Home home;
  ProblemList problems;
  std::unique_ptr<ItemStore> store;
  std::unique_ptr<SyncedTree> tree;
  std::unique_ptr<ContainerList> containers;
  std::unique_ptr<FeedCursor> cursor;
  std::function<void(HydrationStage)> onStage;
  std::function<void()> onProgress;
  int opened = 0;

 private:
  void collect(const ItemTable& table, std::int64_t folder, const std::string& prefix,
               std::set<std::string>& paths) {
    std::vector<StoredItem> children;
    table.forEachChild(folder, [&](const StoredItem& child) { children.push_back(child); });
    for (const StoredItem& child : children) {
      std::string path = prefix + child.name;
      if (child.isFolder()) {
        if (child.role == ItemRole::Ordinary) paths.insert(path + "/");
        collect(table, child.id, path + "/", paths);
      } else {
        bool absent = child.kind == ItemKind::Document && !child.isLocal();
        paths.insert(path + (absent ? "~" : ""));
      }
    }
  }

  std::stop_source _stop;
};

}  // namespace tessera
