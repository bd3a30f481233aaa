#include "linux/ExtensionProcess.h"

#include <optional>

namespace tessera {

ExtensionProcess::ExtensionProcess(const Home& home, kj::AutoCloseFd socket)
    : _log(home), _library(home), _host(_library.loop(), _library.callbacks(), kj::mv(socket)) {}

void ExtensionProcess::run() {
  auto extension = NSExtensionCreatePrincipalObject();
  std::optional<WorkerPool> requests(std::in_place);
  _host.serve(*requests, extension);
  _host.waitUntilGone();
  _host.close();          // invalidates the enumerators, on the pool
  _library.disconnect();  // releases the requests that wait for the daemon
  requests.reset();       // and waits for them
}

}  // namespace tessera
