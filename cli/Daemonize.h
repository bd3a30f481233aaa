#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tessera {

// Starts `program` on its own: in a session of its own, with standard input from nowhere and
// standard output and error appended to `log`, as nobody's child. Its last two arguments are
// "--ready-fd" and the number of a pipe into which it writes 'R' once it is ready, or why it
// is not. Waits for that at most `seconds`; throws CliError.
void startDaemon(const std::filesystem::path& program, const std::filesystem::path& log,
                 int seconds);

}  // namespace tessera
