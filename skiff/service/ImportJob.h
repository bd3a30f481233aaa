#pragma once

#include <functional>
#include <stop_token>
#include <string>

#include "skiff/importer/ImportReport.h"
#include "skiff/service/Daemon.h"

namespace tessera {

// Imports a folder of this machine into a container of the signed-in account. The homes and the
// cloud of this instance are left out. `containerIdentifier` empty means the default container.
// Throws what ServiceError knows.
[[nodiscard]] ImportReport runImport(Daemon& daemon, const std::string& path,
                                     const std::string& containerIdentifier,
                                     const std::function<void(const ImportProgress&)>& progress,
                                     std::stop_token stop);

}  // namespace tessera
