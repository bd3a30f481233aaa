#include "skiff/store/ItemListing.h"

#include <limits>
#include <string>

#include "skiff/store/ItemRow.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

// The SQL of one listing: which rows, in which order.
struct ListingText {
  std::string first;     // from the start; parameters: [folder], limit
  std::string after;     // behind a key; parameters: [folder], key, limit
  std::string boundary;  // the key of the row at an index; parameters: [folder], index
};

ListingText makeText(const std::string& where, const std::string& key,
                     const std::string& parameters) {
  ListingText text;
  std::string select = std::string("SELECT ") + kItemColumns + "FROM items WHERE " + where;
  text.first = select + " ORDER BY " + key + " LIMIT ?";
  text.after = select + " AND (" + key + ") > (" + parameters + ") ORDER BY " + key + " LIMIT ?";
  text.boundary = "SELECT recency, fold, name, id FROM items WHERE " + where + " ORDER BY " + key +
                  " LIMIT 1 OFFSET ?";
  return text;
}

const ListingText kEntriesByName = makeText("parent = ?", "fold, name", "?, ?");
const ListingText kEntriesByDate = makeText("parent = ?", "recency, fold, name", "?, ?, ?");
const ListingText kFoldersByName = makeText("kind = 0 AND role <> 2", "fold, name, id", "?, ?, ?");
const ListingText kFoldersByDate =
    makeText("kind = 0 AND role <> 2", "recency, fold, name, id", "?, ?, ?, ?");

const ListingText& textFor(std::int64_t folder, SortOrder order) {
  if (folder != 0) return order == SortOrder::ByName ? kEntriesByName : kEntriesByDate;
  return order == SortOrder::ByName ? kFoldersByName : kFoldersByDate;
}

Statement pageStatement(const ItemTable& items, std::int64_t folder, SortOrder order,
                        const std::optional<RowKey>& after, std::uint64_t limit) {
  const ListingText& text = textFor(folder, order);
  Statement statement = items.database().statement(after ? text.after : text.first);
  int index = 0;
  if (folder != 0) statement.bind(++index, folder);
  if (after) {
    if (order == SortOrder::ByDate) statement.bind(++index, after->recency);
    statement.bind(++index, after->fold);
    statement.bind(++index, after->name);
    if (folder == 0) statement.bind(++index, after->id);
  }
  statement.bind(++index, limit);
  return statement;
}

// Walks to the row before `offset`; nullopt when there are not that many rows.
std::optional<RowKey> walkToBoundary(const ItemTable& items, std::int64_t folder, SortOrder order,
                                     std::uint64_t offset) {
  Statement statement = items.database().statement(textFor(folder, order).boundary);
  int index = 0;
  if (folder != 0) statement.bind(++index, folder);
  statement.bind(++index, offset - 1);
  if (!statement.step()) return std::nullopt;
  return RowKey{order == SortOrder::ByDate ? statement.int64(0) : 0, statement.string(1),
                statement.string(2), folder == 0 ? statement.int64(3) : 0};
}

RowKey keyOf(const StoredItem& item, std::int64_t folder, SortOrder order) {
  return RowKey{order == SortOrder::ByDate ? -item.modifiedAt : 0, foldedName(item.name), item.name,
                folder == 0 ? item.id : 0};
}

void checkPage(std::uint64_t offset, std::uint64_t limit) {
  if (limit == 0 || limit > ItemListing::kMaxLimit) {
    throw SkiffError(SkiffError::Code::BadArgument, "A page has 1 to 1000 items.");
  }
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    throw SkiffError(SkiffError::Code::BadArgument, "No listing goes that far.");
  }
}

ItemPage listPage(ItemStore& store, PageBoundaries& boundaries, std::int64_t folder,
                  SortOrder order, std::uint64_t offset, std::uint64_t limit) {
  checkPage(offset, limit);
  ItemStore::Reader reader = store.reader();
  std::optional<RowKey> after;
  if (offset > 0) {
    after = boundaries.take(folder, order, offset);
    if (!after) after = walkToBoundary(*reader, folder, order, offset);
    if (!after) return {};
  }
  ItemPage page;
  page.items.reserve(limit);
  // One row more than asked for tells whether there is another page.
  Statement row = pageStatement(*reader, folder, order, after, limit + 1);
  bool more = false;
  while (row.step()) {
    if (page.items.size() == limit) {
      more = true;
      break;
    }
    page.items.push_back(readItem(row));
  }
  if (more) {
    page.nextOffset = offset + limit;
    boundaries.remember(folder, order, page.nextOffset, keyOf(page.items.back(), folder, order));
  }
  return page;
}

}  // namespace

ItemPage ItemListing::entries(std::int64_t folder, SortOrder order, std::uint64_t offset,
                              std::uint64_t limit) {
  return listPage(_store, _boundaries, folder, order, offset, limit);
}

ItemPage ItemListing::allFolders(SortOrder order, std::uint64_t offset, std::uint64_t limit) {
  return listPage(_store, _boundaries, 0, order, offset, limit);
}

}  // namespace tessera
