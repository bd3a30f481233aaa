#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace tessera {

// The folder, or set of folders, of one instance is not as it must be. The message says
// what to do.
class HomeError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Where everything of one instance is. Two homes are two devices.
//
// With TESSERA_HOME set, all of it lies below that folder (tree/ state/ run/ log/);
// otherwise in the XDG base directories, and the tree is ~/Tessera.
//
// Threads: immutable.
class Home {
 public:
  // Reads TESSERA_HOME, HOME and the XDG variables. Throws HomeError when a path in them is
  // not absolute. Creates nothing.
  [[nodiscard]] static Home fromEnvironment();
  // Everything below `folder`.
  [[nodiscard]] static Home at(const std::filesystem::path& folder);

  // Makes the folders that are missing: mode 0700, except for the tree (0755).
  void create() const;
  // True once create() has been run for it.
  [[nodiscard]] bool exists() const;

  [[nodiscard]] const std::filesystem::path& tree() const noexcept { return _tree; }
  [[nodiscard]] const std::filesystem::path& state() const noexcept { return _state; }
  [[nodiscard]] const std::filesystem::path& run() const noexcept { return _run; }
  [[nodiscard]] const std::filesystem::path& log() const noexcept { return _log; }
  // What a person would call this home: TESSERA_HOME, or the tree's path without it.
  [[nodiscard]] const std::filesystem::path& name() const noexcept { return _name; }

  [[nodiscard]] std::filesystem::path hostSocket() const { return _run / "fileproviderd.sock"; }
  [[nodiscard]] std::filesystem::path skiffSocket() const { return _run / "skiff.sock"; }
  [[nodiscard]] std::filesystem::path hostLock() const { return _run / "fileproviderd.lock"; }
  [[nodiscard]] std::filesystem::path skiffLock() const { return _run / "skiff.lock"; }
  [[nodiscard]] std::filesystem::path configFile() const { return _state / "config.json"; }
  [[nodiscard]] std::filesystem::path accountFile() const { return _state / "account.json"; }
  [[nodiscard]] std::filesystem::path containersFile() const { return _state / "containers.json"; }
  [[nodiscard]] std::filesystem::path itemStore() const { return _state / "items.db"; }
  [[nodiscard]] std::filesystem::path extensionLog() const { return _log / "fileprovider.log"; }
  // The cloud folder of a home that was not given another one.
  [[nodiscard]] std::filesystem::path defaultCloud() const { return _defaultCloud; }

 private:
  Home() = default;

  std::filesystem::path _name;
  std::filesystem::path _tree;
  std::filesystem::path _state;
  std::filesystem::path _run;
  std::filesystem::path _log;
  std::filesystem::path _defaultCloud;
};

}  // namespace tessera
