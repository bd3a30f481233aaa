#include "skiff/tree/TreeRepair.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "skiff/store/PromiseName.h"
#include "skiff/tree/TreeEditor.h"

namespace tessera {

namespace {

constexpr std::string_view kOwnPrefix = ".tessera-";
constexpr std::string_view kMovingSuffix = ".moving";
constexpr int kDeepest = 256;

// The name of something on its way back: no two things share it, so that what has exchanged
// names can be taken apart first and put in place afterwards.
std::string movingName(const ItemID& uuid) {
  return std::string(kOwnPrefix) + uuid.toString() + std::string(kMovingSuffix);
}

std::optional<ItemID> itemOfMoving(std::string_view name) {
  if (!name.starts_with(kOwnPrefix) || !name.ends_with(kMovingSuffix)) return std::nullopt;
  if (name.size() != kOwnPrefix.size() + 36 + kMovingSuffix.size()) return std::nullopt;
  return ItemID::fromString(name.substr(kOwnPrefix.size(), 36));
}

std::vector<std::string> namesIn(int folder) {
  int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (copy < 0) throwErrno("read a folder");
  std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(copy), &::closedir);
  if (!stream) throwErrno("read a folder");
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(stream.get())) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(std::move(name));
  }
  return names;
}

class Repair {
 public:
  Repair(StoreWriter& writer, const SyncedTree& tree)
      : _writer(writer), _items(writer.items()), _tree(tree) {}

  void run() {
    std::vector<std::int64_t> touched = _items.touched();
    // A folder that is back makes others reachable, so this goes on while it helps.
    do {
      for (std::int64_t folder : touched) takeApart(folder);
    } while (putBack(false));
    putBack(true);
    for (std::int64_t folder : touched) complete(folder);
    _writer.clearTouched();
  }

 private:
  struct Moving {
    ItemID uuid;
    std::shared_ptr<OpenFile> folder;
  };

  std::shared_ptr<OpenFile> open(std::int64_t folder) const {
    std::optional<std::string> path = _items.path(folder);
    if (!path) return nullptr;
    try {
      return std::make_shared<OpenFile>(_tree.openFolder(*path));
    } catch (const std::system_error& error) {
      int code = error.code().value();
      if (code != ENOENT && code != ENOTDIR && code != ELOOP) throw;
      return nullptr;
    }
  }

  void takeApart(std::int64_t row) {
    if (_takenApart.contains(row)) return;
    std::shared_ptr<OpenFile> folder = open(row);
    if (!folder) return;
    // Another folder may stand there as long as the right one is not back.
    std::optional<StoredItem> item = _items.find(row);
    FileStamp stamp = TreeEntry::of(folder->get()).stamp;
    if (item && item->stamp && !item->stamp->isSameFolder(stamp) &&
        _items.itemOfFile(stamp, true)) {
      return;
    }
    _takenApart.insert(row);
    scan(folder, row, 0);
  }

  void scan(const std::shared_ptr<OpenFile>& folder, std::int64_t row, int depth) {
    for (const std::string& name : namesIn(folder->get())) {
      if (std::optional<ItemID> uuid = itemOfPromise(name)) {
        dropStrayPromise(folder->get(), *uuid, row);
      } else if (std::optional<ItemID> moving = itemOfMoving(name)) {
        _moving.push_back({*moving, folder});
      } else if (name.starts_with(kOwnPrefix)) {
        ::unlinkat(folder->get(), name.c_str(), 0);
      } else {
        scanEntry(folder, name, row, depth);
      }
    }
  }

  void dropStrayPromise(int folder, const ItemID& uuid, std::int64_t row) {
    std::optional<StoredItem> item = _items.find(uuid);
    bool isRight =
        item && item->parent == row && item->kind == ItemKind::Document && !item->isLocal();
    if (!isRight) dropPromise(folder, uuid);
  }

  void scanEntry(const std::shared_ptr<OpenFile>& folder, const std::string& name, std::int64_t row,
                 int depth) {
    std::optional<TreeEntry> entry = TreeEntry::at(folder->get(), name);
    if (!entry) return;
    bool isFolder = entry->type == TreeEntry::Type::Folder;
    if (!isFolder && entry->type != TreeEntry::Type::File) return;
    std::optional<StoredItem> item = _items.itemOfFile(entry->stamp, isFolder);
    if (item && (item->parent != row || item->name != name)) {
      if (!isInPlace(*item)) startMoving(folder, name, item->uuid);
      return;
    }
    // A folder that nobody knows may be one of a record that was not committed.
    if (item || !isFolder || depth == kDeepest) return;
    auto inner = std::make_shared<OpenFile>(
        openBeneath(folder->get(), name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (*inner) scan(inner, -1, depth + 1);
  }

  // A second name that a person gave to the file does not make it misplaced.
  [[nodiscard]] bool isInPlace(const StoredItem& item) const {
    std::shared_ptr<OpenFile> folder = open(item.parent);
    if (!folder) return false;
    std::optional<TreeEntry> entry = TreeEntry::at(folder->get(), item.name);
    return entry && item.stamp && entry->stamp.isSameFolder(*item.stamp);
  }

  void startMoving(const std::shared_ptr<OpenFile>& folder, const std::string& name,
                   const ItemID& uuid) {
    if (::renameat2(folder->get(), name.c_str(), folder->get(), movingName(uuid).c_str(),
                    RENAME_NOREPLACE) != 0) {
      throwErrno("move " + name + " back");
    }
    _moving.push_back({uuid, folder});
  }

  // True when something found its place. With `force`, folders that are missing are made.
  bool putBack(bool force) {
    bool progress = false;
    std::vector<Moving> left;
    for (Moving& moving : _moving) {
      std::optional<StoredItem> item = _items.find(moving.uuid);
      if (!item) continue;
      std::shared_ptr<OpenFile> folder = open(item->parent);
      if (!folder && force) {
        TreeEditor editor(_tree, _items);
        folder =
            std::make_shared<OpenFile>(::fcntl(editor.folder(item->parent), F_DUPFD_CLOEXEC, 0));
      }
      if (folder) {
        place(moving, *item, folder->get());
        progress = true;
      } else {
        left.push_back(std::move(moving));
      }
    }
    _moving = std::move(left);
    return progress;
  }

  void place(const Moving& moving, StoredItem& item, int folder) {
    std::string from = movingName(moving.uuid);
    std::string wanted = item.name;
    for (int number = 2;; ++number) {
      if (::renameat2(moving.folder->get(), from.c_str(), folder, item.name.c_str(),
                      RENAME_NOREPLACE) == 0) {
        break;
      }
      if (errno != EEXIST) throwErrno("move " + item.name + " back");
      // A person's file has the name: this one is called otherwise.
      item.cloudName = item.wantedName();
      item.name = wanted + " (" + std::to_string(number) + ")";
      while (_items.child(item.parent, item.name)) item.name += "'";
    }
    if (item.name != wanted) _writer.update(item);
  }

  // Every promise and folder that should be there is.
  void complete(std::int64_t row) {
    if (!_items.find(row)) return;
    TreeEditor editor(_tree, _items);
    std::vector<StoredItem> folders;
    _items.forEachChild(row, [&](const StoredItem& child) {
      if (child.isFolder()) folders.push_back(child);
      if (child.kind == ItemKind::Document && !child.isLocal()) editor.placePromise(child);
    });
    for (StoredItem& folder : folders) {
      std::optional<FileStamp> stamp = editor.makeFolder(row, folder.name);
      if (!stamp || (folder.stamp && folder.stamp->isSameFolder(*stamp))) continue;
      folder.stamp = stamp;
      _writer.update(folder);
    }
  }

  StoreWriter& _writer;
  const ItemTable& _items;
  const SyncedTree& _tree;
  std::set<std::int64_t> _takenApart;
  std::vector<Moving> _moving;
};

}  // namespace

void repairTree(StoreWriter& writer, const SyncedTree& tree) {
  if (writer.items().touched().empty()) return;
  Repair(writer, tree).run();
}

}  // namespace tessera
