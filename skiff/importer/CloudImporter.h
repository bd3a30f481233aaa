#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <vector>

#include "cloud/CloudAssets.h"
#include "cloud/CloudDatabase.h"
#include "skiff/importer/ImportReport.h"
#include "skiff/importer/SourceFacts.h"

namespace tessera {

// Puts the files and folders of this machine below a folder into a zone of the cloud, past
// this device's tree.
//
// A folder that the zone has already is merged with, a document with other content becomes
// its next version; nothing is ever deleted. What cannot be imported is left out with a
// reason and the rest goes on. Dates and the executable bit are kept, other permissions,
// owners and extended attributes are not.
// Memory: one folder listing for each level, one batch of records and, where the zone holds
// something, about 60 bytes for each of its items.
// Threads: any; one import at a time for one object. Lifetime: must not outlive the database
// and the assets.
class CloudImporter {
 public:
  // Called on the importing thread after each document and each MiB of a large one: callers
  // that show it choose their own pace.
  using Progress = std::function<void(const ImportProgress&)>;

  // Folders of `excluded` are never read: the homes and clouds of this machine, which would
  // otherwise be swallowed by themselves.
  CloudImporter(CloudDatabase& database, CloudAssets& assets, ZoneID zone,
                std::vector<FileIdentity> excluded = {});

  // Imports what is in `folder`; its entries go to the top of the zone, its own name is not
  // used. After a request to stop it saves what it has read, sets `stopped` and returns.
  // Throws ImportRefused when `folder` is no folder, cannot be read or lies in an excluded
  // one; ImportFailed when the cloud fails, with everything saved before left as it is.
  ImportReport importFolder(const std::filesystem::path& folder, const Progress& progress,
                            std::stop_token stop);

 private:
  void checkTop(const std::filesystem::path& folder) const;
  void run(const std::filesystem::path& folder, const Progress& progress,
           const std::stop_token& stop, ImportReport& report);

  CloudDatabase& _database;
  CloudAssets& _assets;
  const ZoneID _zone;
  const std::vector<FileIdentity> _excluded;
};

}  // namespace tessera
