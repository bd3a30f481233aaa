#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cloud/CloudService.h"

namespace tessera {

struct EmbeddedStore;

// A cloud that is a folder: SQLite for records, files for assets, no server. For one
// machine, a shared disk of one machine, and for trying things out.
//
// Threads: any. Several processes may have one folder open at once; a process that
// forks must open its own afterwards.
class EmbeddedCloud final : public CloudService {
 public:
  // `folder` is an absolute path. Throws as CloudFolder::open does.
  EmbeddedCloud(const std::filesystem::path& folder, OpenCloud mode);

  [[nodiscard]] std::string identifier() override;
  [[nodiscard]] std::optional<CloudAccount> account(const std::string& name) override;
  CloudAccount makeAccount(const std::string& name) override;
  [[nodiscard]] std::vector<CloudContainer> containers() override;
  void putContainer(const CloudContainer& container) override;
  [[nodiscard]] std::uint64_t containersVersion() override;
  [[nodiscard]] std::shared_ptr<CloudDatabase> privateDatabase(
      const std::string& accountName) override;
  [[nodiscard]] std::shared_ptr<CloudAssets> assets() override;

 private:
  std::shared_ptr<EmbeddedStore> _store;
};

}  // namespace tessera
