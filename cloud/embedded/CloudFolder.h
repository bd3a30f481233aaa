#pragma once

#include <filesystem>
#include <string>

#include "cloud/CloudService.h"

namespace tessera {

// The folder of an embedded cloud, and what lies where in it:
//
//   tessera-cloud.json  the marker: format number and identifier; written last
//   cloud.db            accounts, containers, records (SQLite, with its -wal and -shm)
//   blobs/ab/<sha256>   committed assets, by the first two digits of their hash
//   staging/            assets on their way in, one sub-folder a process
//   wake                touched after each commit
//
// Invariant: a folder with a marker is a whole cloud. A creation that was cut short
// is recognised by its unfinished marker and begun again.
// Threads: immutable.
class CloudFolder {
 public:
  // Finds or makes the cloud in `folder`, an absolute path. When it refuses, the folder
  // has not been changed in any way. Any number of processes may do this at once; they
  // all get the same cloud. Throws NotACloud, NewerVersion, Corrupt, Unreachable or
  // NoSpace with a message that says what a person can do.
  [[nodiscard]] static CloudFolder open(const std::filesystem::path& folder, OpenCloud mode);

  [[nodiscard]] const std::string& identifier() const { return _identifier; }
  [[nodiscard]] const std::filesystem::path& path() const { return _folder; }
  [[nodiscard]] std::filesystem::path database() const { return _folder / "cloud.db"; }
  [[nodiscard]] std::filesystem::path blobs() const { return _folder / "blobs"; }
  [[nodiscard]] std::filesystem::path staging() const { return _folder / "staging"; }
  [[nodiscard]] std::filesystem::path wake() const { return _folder / "wake"; }

 private:
  explicit CloudFolder(std::filesystem::path folder) : _folder(std::move(folder)) {}

  [[nodiscard]] std::filesystem::path marker() const { return _folder / "tessera-cloud.json"; }
  [[nodiscard]] std::filesystem::path unfinishedMarker() const {
    return _folder / "tessera-cloud.json.creating";
  }
  bool readMarker();
  void createUnderLock();
  void fill() const;
  void clearUnfinished() const;
  void writeUnfinishedMarker() const;

  std::filesystem::path _folder;
  std::string _identifier;
};

}  // namespace tessera
