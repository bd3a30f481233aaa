#include "cloud/embedded/EmbeddedCloud.h"

#include "cloud/CloudError.h"
#include "cloud/embedded/AccountTable.h"
#include "cloud/embedded/CloudSchema.h"
#include "cloud/embedded/ContainerTable.h"
#include "cloud/embedded/EmbeddedDatabase.h"
#include "cloud/embedded/EmbeddedStore.h"
#include "cloud/embedded/StorageError.h"
#include "sqlite/Transaction.h"

namespace tessera {

EmbeddedCloud::EmbeddedCloud(const std::filesystem::path& folder, OpenCloud mode) {
  CloudFolder cloud = CloudFolder::open(folder, mode);
  withCloudErrors([this, &cloud] {
    _store = std::make_shared<EmbeddedStore>(std::move(cloud));
    auto writer = _store->connections.writer();
    checkCloudDatabase(*writer, _store->folder.identifier());
  });
  // A process that was killed right after a commit could not wake anybody; its
  // successor does.
  _store->wake.touch();
}

std::string EmbeddedCloud::identifier() {
  return _store->folder.identifier();
}

std::optional<CloudAccount> EmbeddedCloud::account(const std::string& name) {
  return withCloudErrors([this, &name]() -> std::optional<CloudAccount> {
    auto reader = _store->connections.reader();
    auto found = AccountTable(*reader).find(name);
    if (!found) return std::nullopt;
    return found->account;
  });
}

CloudAccount EmbeddedCloud::makeAccount(const std::string& name) {
  if (auto found = account(name)) return *found;
  return withCloudErrors([this, &name] {
    auto writer = _store->connections.writer();
    Transaction transaction(*writer, Transaction::Kind::Write);
    CloudAccount made = AccountTable(*writer).findOrAdd(name);
    transaction.commit();
    return made;
  });
}

std::vector<CloudContainer> EmbeddedCloud::containers() {
  return withCloudErrors([this] {
    auto reader = _store->connections.reader();
    Transaction transaction(*reader, Transaction::Kind::Read);
    return ContainerTable(*reader).all();
  });
}

void EmbeddedCloud::putContainer(const CloudContainer& container) {
  ContainerTable::check(container);
  for (const auto& icon : container.icons) {
    if (!_store->blobs->contains(icon.image)) {
      throw CloudError(CloudError::Code::NoSuchAsset,
                       "The icon " + icon.image.sha256 + " has not been uploaded and committed.");
    }
  }
  withCloudErrors([this, &container] {
    auto writer = _store->connections.writer();
    Transaction transaction(*writer, Transaction::Kind::Write);
    ContainerTable(*writer).put(container);
    transaction.commit();
  });
  _store->wake.touch();
}

std::uint64_t EmbeddedCloud::containersVersion() {
  return withCloudErrors([this] {
    auto reader = _store->connections.reader();
    return static_cast<std::uint64_t>(ContainerTable(*reader).version());
  });
}

std::shared_ptr<CloudDatabase> EmbeddedCloud::privateDatabase(const std::string& accountName) {
  return withCloudErrors([this, &accountName]() -> std::shared_ptr<CloudDatabase> {
    auto reader = _store->connections.reader();
    auto account = AccountTable(*reader).find(accountName);
    if (!account) {
      throw CloudError(CloudError::Code::NoSuchAccount,
                       "The cloud has no account \"" + accountName + "\".");
    }
    return std::make_shared<EmbeddedDatabase>(_store, *account);
  });
}

std::shared_ptr<CloudAssets> EmbeddedCloud::assets() {
  return _store->blobs;
}

}  // namespace tessera
