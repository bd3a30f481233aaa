#include "skiff/service/CloudContent.h"

#include "skiff/feed/SingleRecord.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

std::unique_ptr<AssetDownload> CloudContent::open(const Asset& asset) {
  (void)_accounts.require();
  try {
    return _link.service()->assets()->download(asset, 0);
  } catch (const CloudError& error) {
    _link.noteFailure(error);
    throw;
  }
}

void CloudContent::refresh(const StoredItem& item) {
  AccountKeeper::Account account = _accounts.require();
  std::optional<StoredContainer> container = _store.reader()->container(item.container);
  if (!container) return;
  std::optional<Record> record;
  try {
    record = _link.service()
                 ->privateDatabase(account.name)
                 ->record({ZoneID{account.name, container->identifier}, item.recordName});
  } catch (const CloudError& error) {
    _link.noteFailure(error);
    throw;
  }
  if (!record) {
    throw SkiffError(SkiffError::Code::NoSuchItem, "The document was deleted in the cloud.");
  }
  if (record->changeTag == item.changeTag) return;
  applySingleRecord(*record, item.container, _store, _tree, _problems);
}

}  // namespace tessera
