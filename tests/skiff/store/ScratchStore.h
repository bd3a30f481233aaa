#pragma once

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "skiff/store/ItemStore.h"

namespace tessera {

// A store in a folder of its own that goes away with this object; a root is in it.
class ScratchStore {
 public:
  ScratchStore() {
    std::string pattern = (std::filesystem::temp_directory_path() / "store-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    _folder = pattern;
    reopen();
    root = add(0, "", ItemKind::Folder, ItemRole::Root);
  }
  ~ScratchStore() {
    _store.reset();
    std::filesystem::remove_all(_folder);
  }
  ScratchStore(const ScratchStore&) = delete;
  ScratchStore& operator=(const ScratchStore&) = delete;

  void reopen() {
    _store.reset();
    _store = std::make_unique<ItemStore>(file());
  }
  void close() { _store.reset(); }

  static StoredItem item(std::int64_t parent, const std::string& name,
                         ItemKind kind = ItemKind::Document, ItemRole role = ItemRole::Ordinary) {
    StoredItem result;
    result.uuid = ItemID::random();
    result.parent = parent;
    result.name = name;
    result.kind = kind;
    result.role = role;
    result.changeTag = "1";
    return result;
  }

  StoredItem add(std::int64_t parent, const std::string& name, ItemKind kind = ItemKind::Document,
                 ItemRole role = ItemRole::Ordinary) {
    StoredItem result = item(parent, name, kind, role);
    _store->write([&result](StoreWriter& writer) { writer.insert(result); });
    return result;
  }
  void update(StoredItem& changed) {
    _store->write([&changed](StoreWriter& writer) { writer.update(changed); });
  }
  void remove(const StoredItem& gone) {
    _store->write([&gone](StoreWriter& writer) { writer.remove(gone); });
  }

  [[nodiscard]] ItemStore& operator*() { return *_store; }
  [[nodiscard]] ItemStore* operator->() { return _store.get(); }
  [[nodiscard]] std::filesystem::path file() const { return _folder / "items.db"; }

  StoredItem root;

 private:
  std::filesystem::path _folder;
  std::unique_ptr<ItemStore> _store;
};

}  // namespace tessera
