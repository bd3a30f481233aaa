#include "skiff/feed/ContainerList.h"

#include <algorithm>
#include <chrono>
#include <set>

#include "cloud/DocumentRecord.h"
#include "home/PublishedFile.h"
#include "skiff/tree/GuardedChange.h"

namespace tessera {

namespace {

// What a folder of this container should be called.
std::string folderName(const CloudContainer& container) {
  return whyNotAnItemName(container.displayName) ? container.identifier : container.displayName;
}

// Clients look up once where the root is, perhaps before anybody has signed in: that does
// not depend on the account. The folder's identifier does, and nobody can ask for it yet.
PublishedContainer rootBeforeSigningIn() {
  return {kDefaultContainer, "Tessera", "", "00000000-0000-0000-0000-000000000000"};
}

std::int64_t now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

void ContainerList::bringUpToDateIfChanged(CloudService& cloud,
                                           const std::string& accountIdentifier) {
  {
    std::lock_guard lock(_lock);
    if (_version && *_version == cloud.containersVersion()) return;
  }
  bringUpToDate(cloud, accountIdentifier);
}

void ContainerList::bringUpToDate(CloudService& cloud, const std::string& accountIdentifier) {
  std::lock_guard lock(_lock);
  std::uint64_t version = cloud.containersVersion();
  std::vector<CloudContainer> containers = cloud.containers();
  std::string seed = "documents folder\n" + cloud.identifier() + "\n" + accountIdentifier + "\n";
  // The root comes first: the other folders are in it.
  std::stable_partition(containers.begin(), containers.end(), [](const CloudContainer& container) {
    return container.identifier == kDefaultContainer;
  });
  // Folders of containers stand in the root, and move in it when they are called otherwise.
  auto touched = [](const ItemTable& items) {
    std::optional<StoredItem> root = items.root();
    return root ? std::set<std::int64_t>{root->id} : std::set<std::int64_t>{};
  };
  changeTree(_store, _tree, touched, [&](StoreWriter& writer) {
    TreeEditor editor(_tree, writer.items());
    NameChooser names(writer, editor);
    for (const CloudContainer& container : containers) {
      put(writer, editor, names, container, ItemID::derived(seed + container.identifier));
    }
    names.settle();
  });
  publish();
  _version = version;
}

void ContainerList::put(StoreWriter& writer, TreeEditor& editor, NameChooser& names,
                        const CloudContainer& container, const ItemID& uuid) {
  std::optional<StoredContainer> known = writer.items().container(container.identifier);
  if (!known) {
    StoredContainer added{0, container.identifier, folderName(container), 0};
    if (container.identifier == kDefaultContainer) {
      addRoot(writer, added, uuid);
    } else {
      addFolder(writer, editor, names, added, uuid);
    }
    return;
  }
  if (known->displayName == folderName(container)) return;
  known->displayName = folderName(container);
  writer.updateContainer(*known);
  std::optional<StoredItem> folder = writer.items().find(known->folder);
  if (!folder || folder->role == ItemRole::Root) return;
  std::string name = names.claim(folder->parent, known->displayName, *folder);
  names.moveTo(*folder, folder->parent, known->displayName, name);
  writer.update(*folder);
}

void ContainerList::addRoot(StoreWriter& writer, StoredContainer& container, const ItemID& uuid) {
  StoredItem root;
  root.uuid = uuid;
  root.role = ItemRole::Root;
  root.kind = ItemKind::Folder;
  root.name = _tree.root().filename().string();
  root.contentType = "inode/directory";
  root.createdAt = root.modifiedAt = now();
  writer.insert(root);
  container.folder = root.id;
  writer.insertContainer(container);
  root.container = container.id;
  writer.update(root);
}

void ContainerList::addFolder(StoreWriter& writer, TreeEditor& editor, NameChooser& names,
                              StoredContainer& container, const ItemID& uuid) {
  std::optional<StoredItem> root = writer.items().root();
  if (!root) return;  // a cloud without a default container has no tree
  StoredItem folder;
  folder.uuid = uuid;
  folder.role = ItemRole::ContainerFolder;
  folder.kind = ItemKind::Folder;
  folder.parent = root->id;
  folder.cloudName = container.displayName;
  folder.name = container.displayName;
  folder.contentType = "inode/directory";
  folder.createdAt = folder.modifiedAt = now();
  if (writer.items().child(root->id, folder.name)) {
    folder.name = names.freeName(root->id, container.displayName);
  }
  folder.stamp = editor.makeFolder(root->id, folder.name);
  while (!folder.stamp) {
    folder.name = names.freeName(root->id, container.displayName);
    folder.stamp = editor.makeFolder(root->id, folder.name);
  }
  writer.insert(folder);
  container.folder = folder.id;
  writer.insertContainer(container);
  folder.container = container.id;
  writer.update(folder);
}

std::vector<PublishedContainer> ContainerList::list() {
  ItemStore::Reader reader = _store.reader();
  reader.beginSnapshot();
  std::vector<PublishedContainer> containers;
  for (const StoredContainer& container : reader->containers()) {
    std::optional<StoredItem> folder = reader->find(container.folder);
    std::optional<std::string> path = reader->path(container.folder);
    if (!folder || !path) continue;
    containers.push_back(
        {container.identifier, container.displayName, *path, folder->uuid.toString()});
  }
  return containers;
}

void ContainerList::publish() {
  std::vector<PublishedContainer> containers = list();
  if (containers.empty()) containers.push_back(rootBeforeSigningIn());
  std::string content = containersToJson(containers);
  try {
    if (PublishedFile(_home.containersFile()).read() == content) return;
  } catch (const HomeError&) {
    // Replaced below.
  }
  publishFile(_home.containersFile(), content);
}

}  // namespace tessera
