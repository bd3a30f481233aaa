#pragma once

#include <filesystem>
#include <system_error>

#include <kj/io.h>

namespace tessera {

// Connects to the stream socket at `path`, of any length. Never blocks: a server that does
// not accept and whose queue is full is EAGAIN. On failure the descriptor is null and
// `error` holds the errno: ENOENT when there is no such socket, ECONNREFUSED when nobody
// listens on it (a server that is gone left it behind).
[[nodiscard]] kj::AutoCloseFd connectUnix(const std::filesystem::path& path,
                                          std::error_code& error);

}  // namespace tessera
