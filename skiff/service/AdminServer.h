#pragma once

#include "protocol/skiff.capnp.h"
#include "skiff/service/Daemon.h"
#include "skiff/service/SkiffServer.h"

namespace tessera {

// Servers are destroyed by the capability library, which knows their type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// What a person does with the daemon; see skiff.capnp.
// Threads: the loop's. Lifetime: ends before its daemon.
class AdminServer final : public wire::Admin::Server {
 public:
  explicit AdminServer(Daemon& daemon) : _daemon(daemon) {}

 protected:
  kj::Promise<void> status(StatusContext context) override;
  kj::Promise<void> login(LoginContext context) override;
  kj::Promise<void> logout(LogoutContext context) override;
  kj::Promise<void> importFolder(ImportFolderContext context) override;
  kj::Promise<void> addContainer(AddContainerContext context) override;
  kj::Promise<void> containers(ContainersContext context) override;
  kj::Promise<void> waitUntilIdle(WaitUntilIdleContext context) override;

 private:
  Daemon& _daemon;
};

#pragma GCC diagnostic pop

}  // namespace tessera
