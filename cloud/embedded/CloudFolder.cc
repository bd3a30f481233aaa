#include "cloud/embedded/CloudFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <system_error>

#include "cloud/CloudError.h"
#include "cloud/embedded/CloudSchema.h"
#include "cloud/embedded/FileDescriptor.h"
#include "cloud/embedded/StorageError.h"
#include "cloud/embedded/UniqueIdentifier.h"

namespace tessera {

namespace {

namespace fs = std::filesystem;

constexpr int kFormat = 1;
constexpr const char* kProduct = "tessera-cloud";
constexpr std::size_t kLongestMarker = 64 * 1024;  // bytes; ours has about a hundred

[[noreturn]] void notACloud(const std::string& message) {
  throw CloudError(CloudError::Code::NotACloud, message);
}

// The file's text, or nothing when there is no such file.
std::optional<std::string> readSmallFile(const fs::path& file) {
  FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (!descriptor.isOpen()) {
    if (errno == ENOENT || errno == ENOTDIR) return std::nullopt;
    throw cloudErrorFromErrno(errno, "Cannot read " + file.string());
  }
  std::string text;
  std::array<char, 4096> buffer;
  while (text.size() < kLongestMarker) {
    ssize_t count = ::read(descriptor.get(), buffer.data(), buffer.size());
    if (count < 0) throw cloudErrorFromErrno(errno, "Cannot read " + file.string());
    if (count == 0) break;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return text;
}

// Holds off other processes that would make a cloud in the same folder. The lock is
// on the folder itself, so that it leaves no file behind, and ends with its holder.
FileDescriptor lockFolder(const fs::path& folder) {
  FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor.isOpen()) throw cloudErrorFromErrno(errno, "Cannot open " + folder.string());
  while (::flock(descriptor.get(), LOCK_EX) != 0) {
    if (errno != EINTR) throw cloudErrorFromErrno(errno, "Cannot lock " + folder.string());
  }
  return descriptor;
}

bool holdsNothing(const fs::path& folder) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    // A file system of its own comes with this one.
    if (entry.path().filename() != "lost+found") return false;
  }
  return true;
}

}  // namespace

CloudFolder CloudFolder::open(const fs::path& folder, OpenCloud mode) try {
  CloudFolder result(folder);
  if (result.readMarker()) return result;
  if (mode == OpenCloud::Existing) {
    notACloud(fs::is_directory(folder)
                  ? "There is no cloud in " + folder.string() +
                        ". Check the path, or create a cloud in an empty folder first."
                  : "There is no folder " + folder.string() +
                        ". Check the path and whether its disk is mounted, or create a cloud "
                        "there first.");
  }
  if (fs::exists(folder) && !fs::is_directory(folder)) {
    notACloud(folder.string() + " is not a folder. Choose another place for the cloud.");
  }
  fs::create_directories(folder);
  FileDescriptor lock = lockFolder(folder);
  // Somebody else may have finished one while we waited.
  if (!result.readMarker()) result.createUnderLock();
  return result;
} catch (const fs::filesystem_error& error) {
  throw cloudErrorFromErrno(error.code().value(), "Cannot use " + folder.string() + " as a cloud");
}

bool CloudFolder::readMarker() {
  std::optional<std::string> text = readSmallFile(marker());
  if (!text) return false;
  auto json = nlohmann::json::parse(*text, nullptr, /*allow_exceptions=*/false);
  if (!json.is_object() || json.value("product", nlohmann::json()) != kProduct ||
      !json.value("format", nlohmann::json()).is_number_integer()) {
    notACloud(marker().string() +
              " is not the marker of a cloud. Choose another folder, or restore the file from a "
              "backup.");
  }
  if (json["format"] > kFormat) {
    throw CloudError(CloudError::Code::NewerVersion,
                     "The cloud in " + _folder.string() +
                         " was written by a newer version of Tessera (format " +
                         json["format"].dump() + ", this one knows " + std::to_string(kFormat) +
                         "). Update Tessera on this device to use it.");
  }
  auto identifier = json.value("identifier", nlohmann::json());
  if (!identifier.is_string() || identifier.get_ref<const std::string&>().empty() ||
      !fs::exists(database())) {
    throw CloudError(CloudError::Code::Corrupt,
                     "The cloud in " + _folder.string() +
                         " is damaged: its identifier or its database "
                         "is missing. Restore the folder from a backup.");
  }
  _identifier = identifier.get<std::string>();
  return true;
}

void CloudFolder::createUnderLock() {
  if (fs::exists(unfinishedMarker())) clearUnfinished();
  if (!holdsNothing(_folder)) {
    notACloud(_folder.string() +
              " holds other files and no cloud. Choose an empty folder, or one that does not "
              "exist yet.");
  }
  _identifier = makeUniqueIdentifier();
  try {
    fill();
  } catch (...) {
    try {
      clearUnfinished();
    } catch (const fs::filesystem_error&) {
      // The next creation clears it; what went wrong first is what matters.
    }
    throw;
  }
}

void CloudFolder::fill() const {
  writeUnfinishedMarker();
  fs::create_directory(blobs());
  fs::create_directory(staging());
  withCloudErrors([this] { createCloudDatabase(database(), _identifier); });
  // All that was made becomes durable before the marker says that it is there.
  FileDescriptor folder(::open(_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.isOpen() || ::syncfs(folder.get()) != 0 ||
      ::rename(unfinishedMarker().c_str(), marker().c_str()) != 0 || ::fsync(folder.get()) != 0) {
    throw cloudErrorFromErrno(errno, "Cannot create a cloud in " + _folder.string());
  }
}

void CloudFolder::clearUnfinished() const {
  fs::remove_all(blobs());
  fs::remove_all(staging());
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    fs::remove(database().string() + suffix);
  }
  fs::remove(unfinishedMarker());
}

void CloudFolder::writeUnfinishedMarker() const {
  nlohmann::ordered_json json{
      {"product", kProduct}, {"format", kFormat}, {"identifier", _identifier}};
  std::string text = json.dump(2) + "\n";
  FileDescriptor descriptor(
      ::open(unfinishedMarker().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!descriptor.isOpen() ||
      ::write(descriptor.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw cloudErrorFromErrno(errno, "Cannot create a cloud in " + _folder.string());
  }
}

}  // namespace tessera
