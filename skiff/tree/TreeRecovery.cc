#include "skiff/tree/TreeRecovery.h"

#include <fcntl.h>

#include <system_error>

#include "skiff/store/SkiffError.h"
#include "skiff/tree/TreeEditor.h"
#include "skiff/tree/TreeRepair.h"

namespace tessera {

namespace {

// The file at the item's name, if it holds the item's content.
std::optional<FileStamp> wholeContent(TreeEditor& editor, const StoredItem& item) {
  OpenFile file(
      openBeneath(editor.folder(item.parent), item.name, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (!file) return std::nullopt;
  TreeEntry entry = TreeEntry::of(file.get());
  if (entry.type != TreeEntry::Type::File || entry.stamp.size != item.contentSize) {
    return std::nullopt;
  }
  if (hashOfFile(file.get()) != item.contentHash) return std::nullopt;
  return entry.stamp;
}

void settleHydrating(StoreWriter& writer, TreeEditor& editor, StoredItem& item) {
  if (std::optional<FileStamp> stamp = wholeContent(editor, item)) {
    item.state = ContentState::Local;
    item.stamp = stamp;
    item.localHash = item.contentHash;
    editor.dropPromise(item);
  } else {
    item.state = ContentState::Placeholder;
    item.stamp.reset();
    editor.placePromise(item);
  }
  writer.update(item);
}

}  // namespace

void removeOldContent(StoreWriter& writer, TreeEditor& editor, StoredItem& item) {
  if (editor.removeContent(item) == TreeEditor::Removed::Kept) {
    std::optional<TreeEntry> entry = editor.entryAt(item.parent, item.name);
    if (entry && entry->type == TreeEntry::Type::File) {
      item.state = ContentState::Local;
      item.uploaded = false;
      item.stamp = entry->stamp;
      item.size = entry->stamp.size;
      item.modifiedAt = entry->stamp.modifiedAt;
      editor.dropPromise(item);
      writer.update(item);
      return;
    }
  }
  item.stamp.reset();
  item.localHash.clear();
  editor.placePromise(item);
  writer.update(item);
}

void recoverTree(ItemStore& store, const SyncedTree& tree) {
  store.write([&tree](StoreWriter& writer) {
    repairTree(writer, tree);
    TreeEditor editor(tree, writer.items());
    for (std::int64_t id : writer.items().unsettled()) {
      std::optional<StoredItem> item = writer.items().find(id);
      if (!item) continue;
      try {
        if (item->state == ContentState::Hydrating) {
          settleHydrating(writer, editor, *item);
        } else {
          removeOldContent(writer, editor, *item);
        }
      } catch (const SkiffError&) {
        // A person put something in the way of its folder: it stays unsettled until that is
        // gone, and a request for it says so.
      }
    }
  });
}

}  // namespace tessera
