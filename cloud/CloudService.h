#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cloud/CloudAssets.h"
#include "cloud/CloudDatabase.h"

namespace tessera {

// A container: a named set of documents of one application, or of the user.
struct CloudContainer {
  std::string identifier;   // reverse-DNS, for example "com.example.notes"
  std::string displayName;  // the folder's name in people's trees; one path component
  struct Icon {
    std::uint32_t width = 0;   // pixels
    std::uint32_t height = 0;  // pixels
    Asset image;               // PNG
  };
  std::vector<Icon> icons;
};

struct CloudAccount {
  std::string name;        // what a person signs in with
  std::string identifier;  // lower-case UUID, for good
};

// The cloud document service: accounts, containers, each account's records and the
// assets behind them. Users hold this interface; which engine is behind it is
// decided by openCloudService alone.
//
// Threads: any. Every method may throw CloudError.
class CloudService {
 public:
  virtual ~CloudService() = default;

  // Identifies this cloud for good; a home remembers it and refuses another.
  [[nodiscard]] virtual std::string identifier() = 0;

  [[nodiscard]] virtual std::optional<CloudAccount> account(const std::string& name) = 0;
  // Returns the account of that name, made now if there is none. A name has 1 to 255
  // bytes of valid UTF-8 without control characters or '/'.
  virtual CloudAccount makeAccount(const std::string& name) = 0;

  // All containers, the default one (kDefaultContainer) always among them.
  [[nodiscard]] virtual std::vector<CloudContainer> containers() = 0;
  // Adds a container or replaces what is known of it.
  virtual void putContainer(const CloudContainer& container) = 0;
  // Grows with every change to the container list.
  [[nodiscard]] virtual std::uint64_t containersVersion() = 0;

  // Throws NoSuchAccount.
  [[nodiscard]] virtual std::shared_ptr<CloudDatabase> privateDatabase(
      const std::string& accountName) = 0;
  [[nodiscard]] virtual std::shared_ptr<CloudAssets> assets() = 0;
};

enum class OpenCloud {
  Existing,         // refuse with NotACloud where there is none
  CreateIfMissing,  // make one in a folder that is absent or empty
};

// `url` is an absolute path or file:// URL of a folder, which selects the embedded
// engine. Throws InvalidArgument for a scheme that no engine serves.
[[nodiscard]] std::unique_ptr<CloudService> openCloudService(const std::string& url,
                                                             OpenCloud mode);

}  // namespace tessera
