#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "cloud/CloudDatabase.h"
#include "cloud/DocumentRecord.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"

namespace tessera {

// Records of one page of the feed, ready to be applied: understood, each folder before what is
// in it, joined by the records that waited for a folder of this page.
struct FeedPage {
  struct Save {
    std::int64_t container = 0;
    DocumentRecord record;
  };
  struct Deletion {
    std::int64_t container = 0;
    std::string recordName;
  };
  std::vector<Save> saves;
  std::vector<Deletion> deletions;

  // Rows of the folders in which applying this page moves, makes or removes things.
  [[nodiscard]] std::set<std::int64_t> touchedFolders(const ItemTable& items) const;

  // Reads the store and, for records that waited, the cloud. Records that make no sense are
  // left out and reported.
  [[nodiscard]] static FeedPage prepare(const ChangePage& page, CloudDatabase& database,
                                        const std::string& accountName, ItemStore& store,
                                        ProblemList& problems);
};

}  // namespace tessera
