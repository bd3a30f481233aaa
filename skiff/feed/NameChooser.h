#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "skiff/store/StoreWriter.h"
#include "skiff/tree/TreeEditor.h"

namespace tessera {

// "name (2).ext" for number 2; shortened, between characters, to what a name may be long.
[[nodiscard]] std::string numberedName(const std::string& name, int number);

// Decides which of several items that would like one name in a folder gets it: the one with
// the smaller identifier, so that all devices agree. The others are numbered. Items that only
// this device has, and folders of containers, keep what they have.
//
// Lifetime: one write transaction, as its editor.
class NameChooser {
 public:
  NameChooser(StoreWriter& writer, TreeEditor& editor) : _writer(writer), _editor(editor) {}

  // The name that `item` shall have in `folder`; another item may have to give way.
  [[nodiscard]] std::string claim(std::int64_t folder, const std::string& wanted,
                                  const StoredItem& item);
  // A numbered name that nothing has, neither in the store nor on disk.
  [[nodiscard]] std::string freeName(std::int64_t folder, const std::string& wanted);

  // Moves what stands for `item` on disk and in the row to the place it shall have; to a
  // numbered name when something of a person's has that one. The row is not written.
  void moveTo(StoredItem& item, std::int64_t folder, std::string wanted, std::string name);

  // Notes that nobody has this name any more; settle() gives it to whoever waits for it.
  void vacated(std::int64_t folder, const std::string& name) { _vacated.insert({folder, name}); }
  void settle();

 private:
  void giveWay(StoredItem holder);

  StoreWriter& _writer;
  TreeEditor& _editor;
  std::set<std::pair<std::int64_t, std::string>> _vacated;
};

}  // namespace tessera
