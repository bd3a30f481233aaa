#pragma once

#include "skiff/feed/CloudLink.h"
#include "skiff/service/AccountKeeper.h"
#include "skiff/transfer/ContentSource.h"

namespace tessera {

// Content from the signed-in account's cloud. Threads: any.
class CloudContent final : public ContentSource {
 public:
  CloudContent(CloudLink& link, AccountKeeper& accounts, ItemStore& store, const SyncedTree& tree,
               ProblemList& problems)
      : _link(link), _accounts(accounts), _store(store), _tree(tree), _problems(problems) {}

  [[nodiscard]] std::unique_ptr<AssetDownload> open(const Asset& asset) override;
  void refresh(const StoredItem& item) override;

 private:
  CloudLink& _link;
  AccountKeeper& _accounts;
  ItemStore& _store;
  const SyncedTree& _tree;
  ProblemList& _problems;
};

}  // namespace tessera
