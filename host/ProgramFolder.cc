#include "host/ProgramFolder.h"

#include <cstdlib>

namespace tessera {

std::filesystem::path programPath(const std::string& name) {
  const char* folder = std::getenv("TESSERA_LIBEXEC");
  if (folder != nullptr && *folder != '\0') return std::filesystem::path(folder) / name;
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

}  // namespace tessera
