#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

#include "skiff/store/ItemTable.h"
#include "skiff/tree/SyncedTree.h"
#include "skiff/tree/TreeEntry.h"

namespace tessera {

// Makes, moves and removes what stands for items in the tree.
//
// Every step may be done again after a crash: what is done already is recognised by inode,
// size and date. A file that differs from what was noted is a person's, and is neither removed
// nor replaced.
//
// Lives as long as one write transaction of the store, which is the tree's gate: the
// descriptors of folders that it keeps are right for that long.
// Threads: one.
class TreeEditor {
 public:
  TreeEditor(const SyncedTree& tree, const ItemTable& items) : _tree(tree), _items(items) {}

  // The folder's descriptor; good until the next call. Makes it when it is missing. Throws
  // SkiffError (NotSupported) when something else stands in its place.
  [[nodiscard]] int folder(std::int64_t id);

  // Makes the folder, or takes the one that is there. nullopt: a file has that name.
  [[nodiscard]] std::optional<FileStamp> makeFolder(std::int64_t parent, const std::string& name);
  void placePromise(const StoredItem& item);
  void dropPromise(const StoredItem& item);

  enum class Found { Same, Different, Missing };
  // What stands at the item's name, compared with what was noted.
  [[nodiscard]] Found look(const StoredItem& item);
  [[nodiscard]] std::optional<TreeEntry> entryAt(std::int64_t folder, const std::string& name);

  enum class Moved {
    Done,
    Missing,    // it is at neither place
    NameTaken,  // something of a person's is at the new one
  };
  // Moves what stands for `item` to another folder or name.
  Moved move(const StoredItem& item, std::int64_t newParent, const std::string& newName);

  enum class Removed {
    Done,  // or was gone already
    Kept,  // a person's: changed, or not empty
  };
  Removed removeDocument(const StoredItem& item);
  Removed removeFolder(const StoredItem& item);
  // Removes the file at the item's name if it is the one in its stamp.
  Removed removeContent(const StoredItem& item);

  // Gives the file at the item's name the item's date and executable bit, and returns how it
  // looks now. Precondition: look(item) is Same.
  [[nodiscard]] FileStamp setAttributes(const StoredItem& item);

  // Makes the link of a reference, or replaces the one there. False: a file has that name.
  [[nodiscard]] bool placeLink(const StoredItem& item, const std::string& target);
  void dropLink(const StoredItem& item);

 private:
  [[nodiscard]] bool isItem(const TreeEntry& entry, const StoredItem& item) const;
  Moved moveEntry(const StoredItem& item, std::int64_t newParent, const std::string& newName);
  void forget(std::int64_t folder) { _folders.erase(folder); }

  static constexpr std::size_t kMostFolders = 256;

  const SyncedTree& _tree;
  const ItemTable& _items;
  std::unordered_map<std::int64_t, OpenFile> _folders;
};

}  // namespace tessera
