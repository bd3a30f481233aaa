#include "skiff/feed/RecordApplier.h"

#include <filesystem>

#include "skiff/feed/RecordItem.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

RecordApplier::RecordApplier(const SyncedTree& tree, StoreWriter& writer, ProblemList& problems)
    : _tree(tree),
      _writer(writer),
      _items(writer.items()),
      _problems(problems),
      _editor(tree, _items),
      _names(writer, _editor) {}

std::optional<std::int64_t> RecordApplier::parentOf(const DocumentRecord& record,
                                                    std::int64_t container) {
  if (_lastParent.row != 0 && _lastParent.container == container &&
      _lastParent.recordName == record.parent) {
    return _lastParent.row;
  }
  std::optional<StoredItem> parent;
  if (record.parent == kDocumentsFolderRecord) {
    std::optional<StoredContainer> in = _items.container(container);
    if (in) parent = _items.find(in->folder);
  } else {
    parent = _items.itemOfRecord(container, record.parent);
  }
  if (!parent || !parent->isFolder()) return std::nullopt;
  _lastParent = {container, record.parent, parent->id};
  return parent->id;
}

void RecordApplier::park(const DocumentRecord& record, std::int64_t container) {
  _writer.park({container, record.id.name, record.parent});
}

void RecordApplier::save(const DocumentRecord& record, std::int64_t container) {
  std::optional<StoredItem> item = _items.itemOfRecord(container, record.id.name);
  if (item && item->changeTag == record.changeTag) return;
  std::optional<std::int64_t> parent = parentOf(record, container);
  bool wouldBeInItself = item && item->isFolder() && parent && *parent != item->parent &&
                         _items.isWithin(*parent, item->id);
  if (!parent || wouldBeInItself) {
    park(record, container);
    return;
  }
  _writer.unpark(container, record.id.name);
  if (item && item->kind != kindOf(record)) {
    remove(*item);
    item = _items.itemOfRecord(container, record.id.name);
    if (item) {
      reportPath(*item, "The cloud has something of another kind in its place");
      return;
    }
  }
  if (item) {
    change(std::move(*item), record, *parent);
  } else {
    add(record, container, *parent);
  }
}

void RecordApplier::add(const DocumentRecord& record, std::int64_t container, std::int64_t parent) {
  _placesChanged = true;
  StoredItem item;
  item.uuid = _items.identifierOfRecord(container, record.id.name);
  item.recordName = record.id.name;
  item.container = container;
  item.kind = kindOf(record);
  item.parent = parent;
  item.cloudName = record.name;
  item.name = _names.claim(parent, record.name, item);
  takeAttributes(item, record);
  takeContent(item, record);
  switch (item.kind) {
    case ItemKind::Folder:
      addFolder(item);
      break;
    case ItemKind::Document:
      _editor.placePromise(item);
      break;
    case ItemKind::Reference:
      break;  // its link comes last, when it is known where its target is
  }
  _writer.insert(item);
}

void RecordApplier::addFolder(StoredItem& item) {
  item.stamp = _editor.makeFolder(item.parent, item.name);
  while (!item.stamp) {
    item.name = _names.freeName(item.parent, item.cloudName);
    item.stamp = _editor.makeFolder(item.parent, item.name);
  }
}

void RecordApplier::change(StoredItem item, const DocumentRecord& record, std::int64_t parent) {
  if (item.parent != parent || item.wantedName() != record.name) {
    _placesChanged = true;
    std::string name = _names.claim(parent, record.name, item);
    _names.moveTo(item, parent, record.name, name);
  }
  if (item.kind == ItemKind::Document) {
    changeContent(item, record);
  } else {
    takeAttributes(item, record);
  }
  if (item.isFolder()) item.uploaded = true;
  if (item.kind == ItemKind::Reference) _placesChanged = true;
  _writer.update(item);
}

void RecordApplier::changeContent(StoredItem& item, const DocumentRecord& record) {
  std::string newHash = record.content ? record.content->sha256 : "";
  if (item.isLocal()) {
    if (newHash != item.contentHash || !item.uploaded) {
      changeLocalContent(item, record);
    } else {
      changeAttributes(item, record);
    }
    return;
  }
  // A transfer that is under way notices that the hash has become another one.
  bool dateChanged = item.modifiedAt != record.modifiedAt;
  takeAttributes(item, record);
  takeContent(item, record);
  if (dateChanged) _editor.placePromise(item);
}

void RecordApplier::changeLocalContent(StoredItem& item, const DocumentRecord& record) {
  TreeEditor::Found found = _editor.look(item);
  bool isPersons = !item.uploaded || found == TreeEditor::Found::Different;
  if (isPersons && found != TreeEditor::Found::Missing) {
    noteLocalChange(item);
    takeAttributes(item, record);
    takeContent(item, record);
    reportPath(item, "It was changed here and in the cloud; the file here stays as it is");
    return;
  }
  // The row stops saying that the content is here before the content goes: between the two a
  // crash leaves a placeholder with old content to remove, which the next start does.
  item.uploaded = true;
  item.state = ContentState::Placeholder;
  if (found == TreeEditor::Found::Missing) item.stamp.reset();
  item.localHash.clear();
  takeAttributes(item, record);
  takeContent(item, record);
  _editor.placePromise(item);
  if (item.stamp) _outdated.push_back(item.id);
}

void RecordApplier::changeAttributes(StoredItem& item, const DocumentRecord& record) {
  bool onDisk = item.modifiedAt != record.modifiedAt || item.executable != record.executable;
  takeAttributes(item, record);
  if (!onDisk) return;
  switch (_editor.look(item)) {
    case TreeEditor::Found::Same:
      item.stamp = _editor.setAttributes(item);
      break;
    case TreeEditor::Found::Different:
      noteLocalChange(item);
      break;
    case TreeEditor::Found::Missing:
      // Not here after all.
      item.state = ContentState::Placeholder;
      item.stamp.reset();
      item.localHash.clear();
      _editor.placePromise(item);
      break;
  }
}

void RecordApplier::noteLocalChange(StoredItem& item) {
  item.uploaded = false;
  std::optional<TreeEntry> entry = _editor.entryAt(item.parent, item.name);
  if (!entry || entry->type != TreeEntry::Type::File) return;
  item.stamp = entry->stamp;
  item.size = entry->stamp.size;
  item.modifiedAt = entry->stamp.modifiedAt;
}

void RecordApplier::erase(std::int64_t container, const std::string& recordName) {
  _writer.unpark(container, recordName);
  std::optional<StoredItem> item = _items.itemOfRecord(container, recordName);
  if (item && item->hasRecord()) remove(*item);
}

bool RecordApplier::remove(const StoredItem& item) {
  _placesChanged = true;
  _lastParent = {};
  bool gone = true;
  switch (item.kind) {
    case ItemKind::Folder:
      return removeFolder(item);
    case ItemKind::Document:
      gone = item.uploaded && _editor.removeDocument(item) == TreeEditor::Removed::Done;
      break;
    case ItemKind::Reference:
      _editor.dropLink(item);
      break;
  }
  if (!gone) {
    keepAsLocal(item);
    return false;
  }
  _writer.remove(item);
  _names.vacated(item.parent, item.name);
  _problems.settle(item.uuid.toString());
  return true;
}

bool RecordApplier::removeFolder(StoredItem item) {
  std::vector<StoredItem> children;
  _items.forEachChild(item.id, [&children](const StoredItem& child) { children.push_back(child); });
  bool empty = true;
  for (const StoredItem& child : children) {
    if (!removeChild(child)) empty = false;
  }
  if (!empty || _editor.removeFolder(item) == TreeEditor::Removed::Kept) {
    keepAsLocal(std::move(item));
    return false;
  }
  _writer.remove(item);
  _names.vacated(item.parent, item.name);
  return true;
}

bool RecordApplier::removeChild(const StoredItem& child) {
  if (child.role != ItemRole::Ordinary) return false;
  if (child.hasRecord()) return remove(child);
  // Something only this device has; a row whose file is gone keeps nothing alive.
  bool stands = child.isFolder() || _editor.look(child) != TreeEditor::Found::Missing;
  if (!stands) _writer.remove(child);
  return !stands;
}

void RecordApplier::keepAsLocal(StoredItem item) {
  item.changeTag.clear();
  item.contentHash.clear();
  item.contentSize = 0;
  item.localHash.clear();
  item.cloudName.clear();
  item.uploaded = false;
  if (item.kind == ItemKind::Document) {
    if (!item.isLocal()) _editor.dropPromise(item);
    item.state = ContentState::Local;
    noteLocalChange(item);
  }
  _writer.update(item);
  reportPath(item, item.isFolder()
                       ? "It was deleted in the cloud but holds files that only this device has; "
                         "these stay"
                       : "It was deleted in the cloud but changed here; the file here stays");
}

void RecordApplier::finish() {
  _names.settle();
  if (_placesChanged) refreshLinks();
}

void RecordApplier::refreshLinks() {
  for (const StoredItem& reference : _items.references()) {
    std::optional<StoredContainer> in = _items.container(reference.targetContainer);
    std::optional<StoredItem> target;
    if (in) target = _items.itemOfRecord(in->id, reference.targetRecord);
    std::optional<std::string> to = target ? _items.path(target->id) : std::nullopt;
    std::optional<std::string> from = _items.path(reference.parent);
    if (!to || !from) {
      _editor.dropLink(reference);
      continue;
    }
    std::string link = std::filesystem::path("/" + *to)
                           .lexically_relative(std::filesystem::path("/" + *from))
                           .string();
    if (!_editor.placeLink(reference, link)) {
      reportPath(reference, "A file of yours is where a link to another document should be");
    }
  }
}

void RecordApplier::reportPath(const StoredItem& item, const std::string& what) {
  _problems.report(
      item.uuid.toString(),
      _tree.absolutePath(_items.path(item.id).value_or(item.name)) + ": " + what + ".");
}

}  // namespace tessera
