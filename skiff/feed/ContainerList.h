#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "cloud/CloudService.h"
#include "home/Home.h"
#include "home/PublishedState.h"
#include "skiff/feed/NameChooser.h"
#include "skiff/store/ItemStore.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// The containers of the cloud and their documents folders: the tree's root for the default
// container, a folder below it named like the container for every other one. What clients
// read of them (state/containers.json) is published here.
//
// Threads: any.
class ContainerList {
 public:
  ContainerList(ItemStore& store, const SyncedTree& tree, const Home& home)
      : _store(store), _tree(tree), _home(home) {}

  // Makes the folders of containers that are new, moves those that are called otherwise, and
  // publishes the list. `account` is the account's identifier: a folder's identifier is made
  // from it, the cloud's and the container's, and is so the same on every device.
  void bringUpToDate(CloudService& cloud, const std::string& accountIdentifier);
  // The same if the list has changed since the last time.
  void bringUpToDateIfChanged(CloudService& cloud, const std::string& accountIdentifier);

  [[nodiscard]] std::vector<PublishedContainer> list();
  // Publishes the list unless what is published says the same.
  void publish();

 private:
  void put(StoreWriter& writer, TreeEditor& editor, NameChooser& names,
           const CloudContainer& container, const ItemID& uuid);
  void addRoot(StoreWriter& writer, StoredContainer& container, const ItemID& uuid);
  void addFolder(StoreWriter& writer, TreeEditor& editor, NameChooser& names,
                 StoredContainer& container, const ItemID& uuid);

  ItemStore& _store;
  const SyncedTree& _tree;
  const Home& _home;
  std::mutex _lock;                       // held through an update
  std::optional<std::uint64_t> _version;  // guarded by _lock; of the list that is in the store
};

}  // namespace tessera
