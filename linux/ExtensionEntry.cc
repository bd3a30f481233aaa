// The platform's extension entry: what there is between the program's main and the extension.

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <sys/socket.h>

#include "linux/ExtensionProcess.h"
#include "platform/fileprovider/NSFileProviderExtension.h"

namespace tessera {
namespace {

constexpr const char* kSocketVariable = "TESSERA_EXTENSION_SOCKET";

bool isConnectedStream(int fd) {
  int type = 0;
  socklen_t length = sizeof type;
  if (::getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) != 0 || type != SOCK_STREAM) {
    return false;
  }
  sockaddr_storage peer{};
  length = sizeof peer;
  return ::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0;
}

// The socket that whoever started this process left open for it. It goes no further: the
// programs that this process starts do not inherit it.
std::optional<kj::AutoCloseFd> inheritedSocket() {
  const char* value = std::getenv(kSocketVariable);
  if (value == nullptr) return std::nullopt;
  const std::string_view text = value;
  int fd = -1;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), fd);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) return std::nullopt;
  if (!isConnectedStream(fd) || ::fcntl(fd, F_SETFD, FD_CLOEXEC) != 0) return std::nullopt;
  ::unsetenv(kSocketVariable);
  return kj::AutoCloseFd(fd);
}

}  // namespace

int NSExtensionMain(int, char** argv) {
  auto socket = inheritedSocket();
  if (!socket) {
    std::fprintf(stderr,
                 "%s: this is the file-provider extension, which fileproviderd starts when it is "
                 "needed. Start the instance with: tessera up\n",
                 argv[0]);
    return 2;
  }
  try {
    // Never destroyed, and the process ends without the destructors of statics: everything
    // that anyone waited for has ended by then, but the library's and the platform's threads
    // may each still hand the other a last piece of work, so that neither could go first.
    auto* process = new ExtensionProcess(Home::fromEnvironment(), kj::mv(*socket));
    process->run();
    std::_Exit(0);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
    return 1;
  }
}

}  // namespace tessera
