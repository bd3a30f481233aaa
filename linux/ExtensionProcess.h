#pragma once

#include <memory>

#include <kj/io.h>

#include "home/Home.h"
#include "linux/ClientLibrary.h"
#include "linux/HostConnection.h"
#include "linux/ProcessLog.h"
#include "platform/dispatch/WorkerPool.h"
#include "platform/fileprovider/NSFileProviderExtension.h"

namespace tessera {

// Everything that an extension process is made of, around its principal object.
//
// Lifetime: until the process ends. Work on the process's shared threads may still ask the
// services it installs after run() has returned.
class ExtensionProcess {
 public:
  // `socket` leads to the host. Throws HomeError or std::system_error.
  ExtensionProcess(const Home& home, kj::AutoCloseFd socket);
  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;

  // Makes the principal object and serves it until the host is gone; then ends what is still
  // under way and lets the object go. Once.
  void run();

 private:
  ProcessLog _log;
  ClientLibrary _library;
  HostConnection _host;
  const InstalledBackend<NSFileProviderManager>::Installation _hostInstalled{_host};
};

}  // namespace tessera
