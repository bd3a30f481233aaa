#include "skiff/service/ImportJob.h"

#include "cloud/DocumentRecord.h"
#include "skiff/importer/CloudImporter.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {

// Folders that an import must not swallow: what it writes to would grow under its feet.
std::vector<FileIdentity> ownFolders(Daemon& daemon) {
  std::string cloud = daemon.config.cloudUrl;
  constexpr std::string_view kScheme = "file://";
  if (cloud.starts_with(kScheme)) cloud.erase(0, kScheme.size());
  std::vector<FileIdentity> folders;
  for (const std::filesystem::path& path :
       {daemon.home.tree(), daemon.home.state(), daemon.home.run(), daemon.home.log(),
        std::filesystem::path(cloud)}) {
    if (std::optional<FileIdentity> identity = FileIdentity::of(path)) {
      folders.push_back(*identity);
    }
  }
  return folders;
}

void checkContainer(CloudService& cloud, const std::string& identifier) {
  std::string known;
  for (const CloudContainer& container : cloud.containers()) {
    if (container.identifier == identifier) return;
    known += (known.empty() ? "" : ", ") + container.identifier;
  }
  throw CloudError(CloudError::Code::NoSuchContainer,
                   "There is no container " + identifier + ". There are: " + known + ".");
}

}  // namespace

ImportReport runImport(Daemon& daemon, const std::string& path,
                       const std::string& containerIdentifier,
                       const std::function<void(const ImportProgress&)>& progress,
                       std::stop_token stop) {
  AccountKeeper::Account account = daemon.accounts->require();
  if (path.empty() || path.front() != '/' || path.find('\0') != std::string::npos) {
    throw SkiffError(SkiffError::Code::BadArgument, "A folder to import is an absolute path.");
  }
  std::shared_ptr<CloudService> cloud = daemon.link.service();
  std::string container = containerIdentifier.empty() ? kDefaultContainer : containerIdentifier;
  checkContainer(*cloud, container);
  std::shared_ptr<CloudDatabase> database = cloud->privateDatabase(account.name);
  std::shared_ptr<CloudAssets> assets = cloud->assets();
  CloudImporter importer(*database, *assets, ZoneID{account.name, container}, ownFolders(daemon));
  return importer.importFolder(path, progress, std::move(stop));
}

}  // namespace tessera
