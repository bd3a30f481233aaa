#pragma once

#include "host/SignalledContainers.h"
#include "protocol/extension.capnp.h"

namespace tessera {

// The library counts its servers' references and destroys each as what it is.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// What the host offers to the extension. Threads: the loop's. Lifetime: `signalled` outlives
// it.
class ExtensionHostService final : public wire::ExtensionHost::Server {
 public:
  explicit ExtensionHostService(SignalledContainers& signalled) : _signalled(signalled) {}

  kj::Promise<void> signalEnumerator(SignalEnumeratorContext context) override;

 private:
  SignalledContainers& _signalled;
};
#pragma GCC diagnostic pop

}  // namespace tessera
