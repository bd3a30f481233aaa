#pragma once

#include <string>
#include <vector>

#include "skiff/service/Daemon.h"

namespace tessera {

// Adds a container to the cloud, or replaces what is known of it, with icons from PNG files of
// this machine. An empty display name keeps the one it has, or takes the end of its identifier.
// Throws CloudError, SkiffError (BadArgument), std::system_error.
void addContainer(Daemon& daemon, const std::string& identifier, const std::string& displayName,
                  const std::vector<std::string>& iconPaths);

}  // namespace tessera
