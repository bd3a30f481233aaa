#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_set>

#include "cloud/CloudDatabase.h"
#include "skiff/feed/FeedPage.h"
#include "skiff/store/ItemStore.h"
#include "skiff/store/ProblemList.h"
#include "skiff/tree/SyncedTree.h"

namespace tessera {

// Reads one database's change feed and applies it, page by page, remembering in the store how
// far it is. Each page and the token behind it are committed together.
//
// When the token cannot be continued from, everything is listed again and what the listing does
// not have is removed at its end; until then the old token stays, so that a listing that was
// interrupted begins anew.
// Threads: one at a time.
class FeedCursor {
 public:
  static constexpr std::size_t kPageSize = 1000;

  FeedCursor(ItemStore& store, const SyncedTree& tree, ProblemList& problems,
             std::string accountName);

  // Applies everything there is. False when `stop` ended it early. Throws CloudError, and
  // std::system_error and SqliteError when this device is the trouble.
  bool catchUp(CloudDatabase& database, const std::stop_token& stop);
  [[nodiscard]] const ChangeToken& token() const { return _token; }

 private:
  using Seen = std::unordered_set<ItemID>;

  bool follow(CloudDatabase& database, const std::stop_token& stop, Seen* seen);
  void apply(const ChangePage& page, CloudDatabase& database, Seen* seen);
  void removeUnseen(const Seen& seen, const ChangeToken& token);

  ItemStore& _store;
  const SyncedTree& _tree;
  ProblemList& _problems;
  const std::string _accountName;
  ChangeToken _token;
};

}  // namespace tessera
