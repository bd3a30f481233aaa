#pragma once

#include <cstdint>
#include <vector>

#include "skiff/store/ItemStore.h"
#include "skiff/store/PageBoundaries.h"

namespace tessera {

struct ItemPage {
  std::vector<StoredItem> items;
  std::uint64_t nextOffset = 0;  // 0 at the end
};

// Lists folders in pages. A page costs the same wherever it is: it starts behind the row that
// ended the page before.
//
// Order by name: ASCII letters alike in both cases at first, then by bytes. Order by date:
// modified last first, then by name.
// Threads: any.
class ItemListing {
 public:
  static constexpr std::uint64_t kMaxLimit = 1000;

  explicit ItemListing(ItemStore& store) : _store(store) {}

  // Entries of the folder at row `folder`. Throws SkiffError (BadArgument) for a limit
  // that is not 1 to kMaxLimit.
  [[nodiscard]] ItemPage entries(std::int64_t folder, SortOrder order, std::uint64_t offset,
                                 std::uint64_t limit);
  // Every folder but the root.
  [[nodiscard]] ItemPage allFolders(SortOrder order, std::uint64_t offset, std::uint64_t limit);

 private:
  ItemStore& _store;
  PageBoundaries _boundaries;
};

}  // namespace tessera
