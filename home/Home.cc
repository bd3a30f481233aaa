#include "home/Home.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace tessera {
namespace {

namespace fs = std::filesystem;

// An absolute path from the environment, or `fallback` when the variable is unset or empty.
fs::path pathFromEnvironment(const char* variable, const fs::path& fallback) {
  const char* value = std::getenv(variable);
  if (value == nullptr || *value == '\0') return fallback;
  fs::path path = fs::path(value).lexically_normal();
  if (!path.is_absolute()) {
    throw HomeError(std::string(variable) + " is \"" + value + "\"; set it to an absolute path.");
  }
  if (!path.has_filename() && path.has_relative_path()) path = path.parent_path();
  return path;
}

void makeFolder(const fs::path& folder, mode_t mode) {
  std::error_code failure;
  fs::create_directories(folder.parent_path(), failure);
  if (::mkdir(folder.c_str(), mode) == 0) return;
  const int reason = errno;
  struct stat status {};
  if (reason == EEXIST && ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    if (status.st_uid == ::geteuid()) return;
    throw HomeError("The folder " + folder.string() +
                    " belongs to another user; set TESSERA_HOME to a folder of your own.");
  }
  throw HomeError("Cannot make the folder " + folder.string() + ": " + std::strerror(reason) + ".");
}

}  // namespace

Home Home::at(const fs::path& folder) {
  Home home;
  home._name = folder;
  home._tree = folder / "tree";
  home._state = folder / "state";
  home._run = folder / "run";
  home._log = folder / "log";
  home._defaultCloud = folder / "cloud";
  return home;
}

Home Home::fromEnvironment() {
  const fs::path explicitHome = pathFromEnvironment("TESSERA_HOME", {});
  if (!explicitHome.empty()) return at(explicitHome);
  const fs::path user = pathFromEnvironment("HOME", {});
  if (user.empty()) throw HomeError("Neither TESSERA_HOME nor HOME is set; set TESSERA_HOME.");
  Home home;
  home._tree = user / "Tessera";
  home._name = home._tree;
  home._state = pathFromEnvironment("XDG_STATE_HOME", user / ".local/state") / "tessera";
  home._run = pathFromEnvironment("XDG_RUNTIME_DIR", home._state / "run") / "tessera";
  home._log = home._state / "log";
  home._defaultCloud =
      pathFromEnvironment("XDG_DATA_HOME", user / ".local/share") / "tessera-cloud";
  return home;
}

void Home::create() const {
  makeFolder(_state, 0700);
  makeFolder(_run, 0700);
  makeFolder(_log, 0700);
  makeFolder(_tree, 0755);
}

bool Home::exists() const {
  std::error_code failure;
  return fs::is_directory(_state, failure) && fs::is_directory(_tree, failure);
}

}  // namespace tessera
