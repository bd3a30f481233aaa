#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "skiff/service/Daemon.h"
#include "skiff/service/ItemRecord.h"

namespace tessera {

// What clients ask about items, answered from store and tree. All throw what ServiceError
// knows. Threads: any.
class ItemLookup {
 public:
  explicit ItemLookup(Daemon& daemon) : _daemon(daemon) {}

  struct Page {
    std::vector<ItemRecord> items;
    std::uint64_t nextOffset = 0;
  };
  // `folder` is an identifier; empty means the root.
  [[nodiscard]] Page entries(const std::string& folder, unsigned order, std::uint64_t offset,
                             std::uint64_t limit) const;
  [[nodiscard]] Page allFolders(unsigned order, std::uint64_t offset, std::uint64_t limit) const;

  struct Changes {
    std::vector<ItemRecord> updates;
    std::vector<ItemID> deletions;
    std::string token;
  };
  [[nodiscard]] Changes changes(const std::string& token, std::uint64_t limit) const;

  [[nodiscard]] ItemRecord itemAtPath(const std::string& path, bool scanFirst) const;
  struct Place {
    std::string path;
    bool isReference = false;
  };
  [[nodiscard]] Place place(const std::string& identifier) const;
  [[nodiscard]] std::string referenceTarget(const std::string& path) const;
  [[nodiscard]] std::optional<ItemRecord> containerItem(const std::string& container) const;

  // The stored item at an absolute path.
  [[nodiscard]] StoredItem at(const std::string& path) const;

 private:
  [[nodiscard]] std::string relative(const std::string& path) const;
  [[nodiscard]] Page describe(ItemPage page) const;

  Daemon& _daemon;
};

}  // namespace tessera
