#include "skiff/tree/TreeEditor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "skiff/store/PromiseName.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

// Runs `step`; once more when the folder turned out to have been removed meanwhile.
template <typename Step, typename Forget>
void twiceIfGone(const Step& step, const Forget& forget) {
  try {
    step();
  } catch (const std::system_error& error) {
    if (error.code().value() != ENOENT) throw;
    forget();
    step();
  }
}

}  // namespace

int TreeEditor::folder(std::int64_t id) {
  if (auto found = _folders.find(id); found != _folders.end()) return found->second.get();
  std::optional<std::string> path = _items.path(id);
  if (!path) throw SkiffError(SkiffError::Code::NoSuchItem, "A folder is not in the tree.");
  OpenFile opened;
  try {
    opened = _tree.makeFolders(*path);
  } catch (const std::system_error& error) {
    int code = error.code().value();
    if (code != ENOTDIR && code != ELOOP) throw;
    throw SkiffError(
        SkiffError::Code::NotSupported,
        "Something else is where a folder should be. Move it away: " + _tree.absolutePath(*path),
        _tree.absolutePath(*path));
  }
  if (_folders.size() >= kMostFolders) _folders.clear();
  return _folders.emplace(id, std::move(opened)).first->second.get();
}

std::optional<FileStamp> TreeEditor::makeFolder(std::int64_t parent, const std::string& name) {
  std::optional<TreeEntry> made;
  twiceIfGone(
      [&] {
        int in = folder(parent);
        if (::mkdirat(in, name.c_str(), 0755) != 0 && errno != EEXIST) {
          throwErrno("make the folder " + name);
        }
        made = TreeEntry::at(in, name);
      },
      [&] { forget(parent); });
  if (!made || made->type != TreeEntry::Type::Folder) return std::nullopt;
  return made->stamp;
}

void TreeEditor::placePromise(const StoredItem& item) {
  twiceIfGone([&] { tessera::placePromise(folder(item.parent), item.uuid, item.modifiedAt); },
              [&] { forget(item.parent); });
}

void TreeEditor::dropPromise(const StoredItem& item) {
  tessera::dropPromise(folder(item.parent), item.uuid);
}

std::optional<TreeEntry> TreeEditor::entryAt(std::int64_t in, const std::string& name) {
  return TreeEntry::at(folder(in), name);
}

bool TreeEditor::isItem(const TreeEntry& entry, const StoredItem& item) const {
  switch (item.kind) {
    case ItemKind::Folder:
      return entry.type == TreeEntry::Type::Folder && item.stamp &&
             item.stamp->isSameFolder(entry.stamp);
    case ItemKind::Document:
      return entry.type == TreeEntry::Type::File && item.stamp == entry.stamp;
    case ItemKind::Reference:
      return entry.type == TreeEntry::Type::Link;
  }
  return false;
}

TreeEditor::Found TreeEditor::look(const StoredItem& item) {
  std::optional<TreeEntry> entry = entryAt(item.parent, item.name);
  if (!entry) return Found::Missing;
  return isItem(*entry, item) ? Found::Same : Found::Different;
}

TreeEditor::Moved TreeEditor::move(const StoredItem& item, std::int64_t newParent,
                                   const std::string& newName) {
  bool hasPromise = item.kind == ItemKind::Document && !item.isLocal();
  if (hasPromise && newParent != item.parent) {
    StoredItem moved = item;
    moved.parent = newParent;
    placePromise(moved);
    dropPromise(item);
  }
  if (hasPromise && !item.stamp) return Moved::Done;
  return moveEntry(item, newParent, newName);
}

TreeEditor::Moved TreeEditor::moveEntry(const StoredItem& item, std::int64_t newParent,
                                        const std::string& newName) {
  std::optional<TreeEntry> source = entryAt(item.parent, item.name);
  std::optional<TreeEntry> target = entryAt(newParent, newName);
  bool sourceIsIt = source && isItem(*source, item);
  if (target && isItem(*target, item) && !sourceIsIt) {
    return Moved::Done;  // before a crash
  }
  if (!source) return target ? Moved::NameTaken : Moved::Missing;
  // A document that was changed is moved as well: it is still the item's.
  bool changedFile =
      item.kind == ItemKind::Document && item.isLocal() && source->type == TreeEntry::Type::File;
  bool replacedFolder = item.isFolder() && source->type == TreeEntry::Type::Folder;
  if (!sourceIsIt && !changedFile && !replacedFolder) return Moved::Missing;
  // Two calls: the second may make room for itself among the descriptors.
  OpenFile from(::fcntl(folder(item.parent), F_DUPFD_CLOEXEC, 0));
  if (::renameat2(from.get(), item.name.c_str(), folder(newParent), newName.c_str(),
                  RENAME_NOREPLACE) == 0) {
    return Moved::Done;
  }
  if (errno == EEXIST) return Moved::NameTaken;
  if (errno == ENOENT) return Moved::Missing;
  throwErrno("move " + item.name + " to " + newName);
}

TreeEditor::Removed TreeEditor::removeDocument(const StoredItem& item) {
  if (!item.isLocal()) dropPromise(item);
  return item.stamp ? removeContent(item) : Removed::Done;
}

TreeEditor::Removed TreeEditor::removeContent(const StoredItem& item) {
  switch (look(item)) {
    case Found::Missing:
      return Removed::Done;
    case Found::Different:
      return Removed::Kept;
    case Found::Same:
      break;
  }
  if (::unlinkat(folder(item.parent), item.name.c_str(), 0) != 0 && errno != ENOENT) {
    throwErrno("remove " + item.name);
  }
  return Removed::Done;
}

TreeEditor::Removed TreeEditor::removeFolder(const StoredItem& item) {
  forget(item.id);
  if (::unlinkat(folder(item.parent), item.name.c_str(), AT_REMOVEDIR) == 0) return Removed::Done;
  if (errno == ENOENT) return Removed::Done;
  if (errno == ENOTEMPTY || errno == EEXIST || errno == ENOTDIR || errno == EBUSY) {
    return Removed::Kept;
  }
  throwErrno("remove the folder " + item.name);
}

FileStamp TreeEditor::setAttributes(const StoredItem& item) {
  OpenFile file(openBeneath(folder(item.parent), item.name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) throwErrno("open " + item.name);
  setModeAndDate(file.get(), item.executable, item.modifiedAt);
  return TreeEntry::of(file.get()).stamp;
}

bool TreeEditor::placeLink(const StoredItem& item, const std::string& target) {
  int in = folder(item.parent);
  std::optional<TreeEntry> entry = TreeEntry::at(in, item.name);
  if (entry && entry->type != TreeEntry::Type::Link) return false;
  if (!entry) {
    if (::symlinkat(target.c_str(), in, item.name.c_str()) != 0) {
      if (errno == EEXIST) return false;
      throwErrno("make the link " + item.name);
    }
    return true;
  }
  // A link cannot be changed: the new one replaces the old one in one step.
  std::string temporary = std::string(".tessera-") + item.uuid.toString() + ".link";
  ::unlinkat(in, temporary.c_str(), 0);
  if (::symlinkat(target.c_str(), in, temporary.c_str()) != 0 ||
      ::renameat(in, temporary.c_str(), in, item.name.c_str()) != 0) {
    throwErrno("replace the link " + item.name);
  }
  return true;
}

void TreeEditor::dropLink(const StoredItem& item) {
  if (look(item) == Found::Same) ::unlinkat(folder(item.parent), item.name.c_str(), 0);
}

}  // namespace tessera
