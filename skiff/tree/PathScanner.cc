#include "skiff/tree/PathScanner.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "cloud/DocumentRecord.h"
#include "skiff/contenttype/ContentType.h"
#include "skiff/store/PromiseName.h"
#include "skiff/store/SkiffError.h"
#include "skiff/tree/TreeEntry.h"

namespace tessera {

namespace {

StoredItem newItem(const StoredItem& folder, const std::string& name, const TreeEntry& entry) {
  StoredItem item;
  item.uuid = ItemID::random();
  item.parent = folder.id;
  item.container = folder.container;
  item.name = name;
  item.kind = entry.type == TreeEntry::Type::Folder ? ItemKind::Folder : ItemKind::Document;
  item.createdAt = entry.createdAt;
  item.modifiedAt = entry.stamp.modifiedAt;
  item.stamp = entry.stamp;
  item.uploaded = false;
  if (item.isFolder()) {
    item.contentType = "inode/directory";
  } else {
    item.size = entry.stamp.size;
    item.executable = entry.executable;
    item.contentType = contentTypeForName(name);
    item.state = ContentState::Local;
  }
  return item;
}

// Notes a document's file as changed by a person.
void noteChanged(StoredItem& item, const TreeEntry& entry) {
  item.stamp = entry.stamp;
  item.size = entry.stamp.size;
  item.modifiedAt = entry.stamp.modifiedAt;
  item.executable = entry.executable;
  item.state = ContentState::Local;
  item.uploaded = false;
}

[[noreturn]] void throwMissing(const std::string& path) {
  throw SkiffError(SkiffError::Code::NoSuchItem, "There is nothing at " + path + ".", path);
}

}  // namespace

StoredItem PathScanner::scan(const std::string& relativePath) {
  StoredItem found;
  _store.write([&](StoreWriter& writer) {
    std::optional<StoredItem> at = writer.items().root();
    if (!at) throwMissing(_tree.absolutePath(relativePath));
    std::string_view rest = relativePath;
    OpenFile folder = _tree.openFolder("");
    while (!rest.empty()) {
      std::size_t length = std::min(rest.find('/'), rest.size());
      std::string name(rest.substr(0, length));
      rest.remove_prefix(std::min(length + 1, rest.size()));
      at = scanEntry(writer, *at, folder.get(), name, relativePath);
      if (rest.empty()) break;
      OpenFile next(openBeneath(folder.get(), name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      if (!next) throwMissing(_tree.absolutePath(relativePath));
      folder = std::move(next);
    }
    found = *writer.items().find(at->id);
  });
  return found;
}

StoredItem PathScanner::scanEntry(StoreWriter& writer, const StoredItem& folder,
                                  int folderDescriptor, const std::string& name,
                                  const std::string& relativePath) {
  std::string path = _tree.absolutePath(relativePath);
  if (std::optional<ItemID> uuid = itemOfPromise(name)) {
    std::optional<StoredItem> promised = writer.items().find(*uuid);
    if (!promised || promised->parent != folder.id) throwMissing(path);
    return *promised;
  }
  std::optional<StoredItem> known = writer.items().child(folder.id, name);
  std::optional<TreeEntry> entry = TreeEntry::at(folderDescriptor, name);
  if (!entry) {
    // A document without content is absent, and that is as it should be.
    if (known && known->kind == ItemKind::Document && !known->isLocal()) return *known;
    throwMissing(path);
  }
  if (known && known->kind == ItemKind::Reference && entry->type == TreeEntry::Type::Link) {
    return *known;
  }
  if (entry->type != TreeEntry::Type::File && entry->type != TreeEntry::Type::Folder) {
    throw SkiffError(SkiffError::Code::NotSupported,
                     "Only files and folders can be documents: " + path, path);
  }
  if (std::optional<std::string> reason = whyNotAnItemName(name)) {
    throw SkiffError(SkiffError::Code::NotSupported, *reason + ": " + path, path);
  }
  if (!known) {
    StoredItem item = newItem(folder, name, *entry);
    writer.insert(item);
    return item;
  }
  if (known->isFolder() != (entry->type == TreeEntry::Type::Folder)) {
    throw SkiffError(SkiffError::Code::NotSupported,
                     "A file has taken the place of a folder, or a folder that of a document. "
                     "Move it away: " +
                         path,
                     path);
  }
  if (known->isFolder()) {
    if (!known->stamp || !known->stamp->isSameFolder(entry->stamp)) {
      known->stamp = entry->stamp;
      writer.update(*known);
    }
    return *known;
  }
  // Content on its way has no name before it is whole; a file that has the name is a person's,
  // and the transfer will say so.
  if (known->state == ContentState::Hydrating) return *known;
  if (known->isLocal() && known->stamp == entry->stamp) return *known;
  bool hadPromise = !known->isLocal();
  noteChanged(*known, *entry);
  writer.update(*known);
  if (hadPromise) dropPromise(folderDescriptor, known->uuid);
  return *known;
}

}  // namespace tessera
