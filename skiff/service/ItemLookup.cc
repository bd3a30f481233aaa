#include "skiff/service/ItemLookup.h"

#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

constexpr std::size_t kLongestPath = 64 * 1024;

[[noreturn]] void throwNoSuchItem(const std::string& identifier) {
  throw SkiffError(SkiffError::Code::NoSuchItem, "There is no item " + identifier + ".");
}

ItemID parseIdentifier(const std::string& identifier) {
  std::optional<ItemID> uuid = ItemID::fromString(identifier);
  if (!uuid) throwNoSuchItem(identifier.substr(0, 64));
  return *uuid;
}

SortOrder parseOrder(unsigned order) {
  if (order > 1) {
    throw SkiffError(SkiffError::Code::BadArgument, "There is no such order of items.");
  }
  return static_cast<SortOrder>(order);
}

}  // namespace

std::string ItemLookup::relative(const std::string& path) const {
  if (path.empty() || path.front() != '/' || path.size() > kLongestPath ||
      path.find('\0') != std::string::npos) {
    throw SkiffError(SkiffError::Code::BadArgument, "An item is named by an absolute path.");
  }
  std::optional<std::string> below = _daemon.tree.relativePath(path);
  if (!below) {
    throw SkiffError(SkiffError::Code::NoSuchItem,
                     path + " is outside the tree (" + _daemon.tree.root().string() + ").", path);
  }
  return *below;
}

ItemLookup::Page ItemLookup::describe(ItemPage page) const {
  ItemStore::Reader reader = _daemon.store.reader();
  return {ItemDescriber(*reader).describe(std::move(page.items)), page.nextOffset};
}

ItemLookup::Page ItemLookup::entries(const std::string& folder, unsigned order,
                                     std::uint64_t offset, std::uint64_t limit) const {
  (void)_daemon.accounts->require();
  std::optional<StoredItem> item;
  {
    ItemStore::Reader reader = _daemon.store.reader();
    item = folder.empty() ? reader->root() : reader->find(parseIdentifier(folder));
  }
  if (!item) throwNoSuchItem(folder);
  if (!item->isFolder()) {
    throw SkiffError(SkiffError::Code::BadArgument, "Only a folder has items in it.");
  }
  return describe(_daemon.listing.entries(item->id, parseOrder(order), offset, limit));
}

ItemLookup::Page ItemLookup::allFolders(unsigned order, std::uint64_t offset,
                                        std::uint64_t limit) const {
  (void)_daemon.accounts->require();
  return describe(_daemon.listing.allFolders(parseOrder(order), offset, limit));
}

ItemLookup::Changes ItemLookup::changes(const std::string& token, std::uint64_t limit) const {
  (void)_daemon.accounts->require();
  if (limit == 0 || limit > ItemListing::kMaxLimit) {
    throw SkiffError(SkiffError::Code::BadArgument, "A page has 1 to 1000 changes.");
  }
  ItemStore::Reader reader = _daemon.store.reader();
  reader.beginSnapshot();
  std::int64_t since = _daemon.changes.parse(token, *reader);
  ChangeBatch batch = _daemon.changes.after(*reader, since, limit, false);
  Changes result;
  result.token = batch.entries.empty() ? token : _daemon.changes.token(batch.entries.back().seq);
  ItemDescriber describer(*reader);
  for (ChangeBatch::Entry& entry : batch.entries) {
    if (entry.item) {
      result.updates.push_back(describer.describe(std::move(*entry.item)));
    } else {
      result.deletions.push_back(entry.departure->uuid);
    }
  }
  return result;
}

StoredItem ItemLookup::at(const std::string& path) const {
  std::optional<StoredItem> item = _daemon.store.reader()->itemAt(relative(path));
  if (!item) {
    throw SkiffError(SkiffError::Code::NoSuchItem, "There is no item at " + path + ".", path);
  }
  return *item;
}

ItemRecord ItemLookup::itemAtPath(const std::string& path, bool scanFirst) const {
  StoredItem item = scanFirst ? _daemon.scanner.scan(relative(path)) : at(path);
  ItemStore::Reader reader = _daemon.store.reader();
  return ItemDescriber(*reader).describe(std::move(item));
}

ItemLookup::Place ItemLookup::place(const std::string& identifier) const {
  ItemStore::Reader reader = _daemon.store.reader();
  reader.beginSnapshot();
  std::optional<StoredItem> item = reader->find(parseIdentifier(identifier));
  if (!item) throwNoSuchItem(identifier);
  std::optional<std::string> path = reader->path(item->id);
  if (!path) throwNoSuchItem(identifier);
  return {_daemon.tree.absolutePath(*path), item->kind == ItemKind::Reference};
}

std::string ItemLookup::referenceTarget(const std::string& path) const {
  StoredItem item = at(path);
  if (item.kind != ItemKind::Reference) return path;
  ItemStore::Reader reader = _daemon.store.reader();
  reader.beginSnapshot();
  std::optional<StoredContainer> container = reader->container(item.targetContainer);
  std::optional<StoredItem> target;
  if (container) target = reader->itemOfRecord(container->id, item.targetRecord);
  std::optional<std::string> below = target ? reader->path(target->id) : std::nullopt;
  if (!below) {
    throw SkiffError(SkiffError::Code::NoSuchItem,
                     "The document that " + path + " stands for is not on this device.", path);
  }
  return _daemon.tree.absolutePath(*below);
}

std::optional<ItemRecord> ItemLookup::containerItem(const std::string& container) const {
  ItemStore::Reader reader = _daemon.store.reader();
  reader.beginSnapshot();
  std::optional<StoredContainer> known = reader->container(container);
  if (!known) return std::nullopt;
  std::optional<StoredItem> folder = reader->find(known->folder);
  if (!folder) return std::nullopt;
  return ItemDescriber(*reader).describe(std::move(*folder));
}

}  // namespace tessera
