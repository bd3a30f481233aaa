#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cloud/CloudError.h"
#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"

namespace tessera {

// A folder for one test, removed with this object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "cloud-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    _path = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return _path; }
  [[nodiscard]] std::filesystem::path cloud() const { return _path / "cloud"; }

 private:
  std::filesystem::path _path;
};

// A cloud in a folder of its own, with the account "ann".
struct ScratchCloud {
  ScratchFolder folder;
  std::unique_ptr<CloudService> service =
      openCloudService(folder.cloud(), OpenCloud::CreateIfMissing);
  CloudAccount account = service->makeAccount("ann");
  std::shared_ptr<CloudDatabase> database = service->privateDatabase("ann");
  std::shared_ptr<CloudAssets> assets = service->assets();
};

inline RecordID idOf(const std::string& name, const std::string& container = kDefaultContainer) {
  return {ZoneID{"ann", container}, name};
}

inline Record recordNamed(const std::string& name, const std::string& text = "text") {
  Record record;
  record.id = idOf(name);
  record.type = "note";
  record.fields["text"] = text;
  return record;
}

inline std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

inline std::string contentOf(CloudAssets& assets, const Asset& asset, std::uint64_t offset = 0) {
  auto download = assets.download(asset, offset);
  std::string content;
  std::string buffer(1000, '\0');
  while (std::size_t count = download->read(std::as_writable_bytes(std::span(buffer)))) {
    content.append(buffer, 0, count);
  }
  return content;
}

inline std::vector<std::string> namesOf(const std::vector<Record>& records) {
  std::vector<std::string> names;
  for (const auto& record : records) names.push_back(record.id.name);
  return names;
}

inline std::vector<std::string> namesOf(const std::vector<RecordID>& ids) {
  std::vector<std::string> names;
  for (const auto& id : ids) names.push_back(id.name);
  return names;
}

// The code of the CloudError that `body` throws, nothing when it throws none.
template <typename Body>
std::optional<CloudError::Code> codeThrownBy(Body&& body) {
  try {
    std::forward<Body>(body)();
  } catch (const CloudError& error) {
    return error.code();
  }
  return std::nullopt;
}

// Every file below `folder` with its content, every folder with an empty one.
inline std::map<std::string, std::string> everythingIn(const std::filesystem::path& folder) {
  std::map<std::string, std::string> all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    std::string content = "folder";
    if (entry.is_regular_file()) {
      std::ifstream file(entry.path(), std::ios::binary);
      content.assign(std::istreambuf_iterator<char>(file), {});
    }
    all[std::filesystem::relative(entry.path(), folder)] = content;
  }
  return all;
}

}  // namespace tessera
