#pragma once

#include <string>

#include <kj/function.h>

#include "host/ExtensionSupervisor.h"
#include "host/SkiffSupervisor.h"
#include "protocol/host.capnp.h"

namespace tessera {

// The library counts its servers' references and destroys each as what it is.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// What the host offers on its socket. Requests about documents go to the extension, which
// is started for the first one; when it cannot answer, the answer is an error.
//
// Threads: the loop's. Lifetime: what it refers to outlives it.
class FileProviderHostService final : public wire::FileProviderHost::Server {
 public:
  // `stop` ends the host, in a later turn of the loop.
  FileProviderHostService(const Home& home, ExtensionSupervisor& extensions, SkiffSupervisor& skiff,
                          kj::Function<void()> stop)
      : _home(home), _extensions(extensions), _skiff(skiff), _stop(kj::mv(stop)) {}

  kj::Promise<void> ping(PingContext context) override;
  kj::Promise<void> pingExtension(PingExtensionContext context) override;
  kj::Promise<void> itemForIdentifier(ItemForIdentifierContext context) override;
  kj::Promise<void> urlForItem(UrlForItemContext context) override;
  kj::Promise<void> identifierForItemAtPath(IdentifierForItemAtPathContext context) override;
  kj::Promise<void> enumerator(EnumeratorContext context) override;
  kj::Promise<void> startProviding(StartProvidingContext context) override;
  kj::Promise<void> status(StatusContext context) override;
  kj::Promise<void> shutdown(ShutdownContext context) override;

 private:
  const Home& _home;
  ExtensionSupervisor& _extensions;
  SkiffSupervisor& _skiff;
  kj::Function<void()> _stop;
};
#pragma GCC diagnostic pop

}  // namespace tessera
