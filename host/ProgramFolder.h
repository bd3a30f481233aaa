#pragma once

#include <filesystem>
#include <string>

namespace tessera {

// Where this installation's program `name` is: in the folder that TESSERA_LIBEXEC names,
// otherwise beside the running program. Whether it is there is not looked at.
[[nodiscard]] std::filesystem::path programPath(const std::string& name);

}  // namespace tessera
