#pragma once

#include <memory>

#include <kj/async-io.h>

#include "home/Home.h"
#include "host/ExtensionHostService.h"
#include "host/ExtensionSupervisor.h"
#include "host/FileProviderHostService.h"
#include "host/HostLoop.h"
#include "host/SkiffSupervisor.h"
#include "rpc/RpcConnectionSet.h"
#include "rpc/UnixListener.h"

namespace tessera {

struct HostOptions {
  ExtensionOptions extension;
  SkiffOptions skiff;

  // The programs of this installation; TESSERA_EXTENSION_IDLE (seconds) from the
  // environment. Throws HomeError for a value that is no number.
  [[nodiscard]] static HostOptions fromEnvironment();
};

// The host service of one home, put together: listens, keeps the daemon running, starts the
// extension when it is asked for, until it is told to stop.
//
// Threads: one loop. Lifetime: the home and the loop outlive it. The caller holds the home's
// host lock.
class Host {
 public:
  // Listens from now on. Throws std::system_error when it cannot.
  Host(const Home& home, HostLoop& loop, HostOptions options);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Resolves when it was asked to stop (by a request or by stop()) and everything it
  // started has ended. To be called once.
  [[nodiscard]] kj::Promise<void> run();
  void stop();

 private:
  kj::Promise<void> windDown();

  HostLoop& _loop;
  SignalledContainers _signalled;
  ExtensionSupervisor _extensions;
  SkiffSupervisor _skiff;
  kj::Own<kj::PromiseFulfiller<void>> _stop;
  kj::Promise<void> _stopped = nullptr;
  wire::FileProviderHost::Client _service;
  RpcConnectionSet _clients;
  std::unique_ptr<UnixListener> _listener;
};

}  // namespace tessera
