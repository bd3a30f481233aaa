#pragma once

#include "host/ExtensionProcess.h"
#include "protocol/extension.capnp.h"

namespace tessera {

// The library counts its servers' references and destroys each as what it is.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// An enumerator of the extension as the host gives it out: it keeps the extension from
// being idle, and answers in the platform's terms when the extension is gone.
//
// Threads: the loop's.
class EnumeratorProxy final : public wire::Enumerator::Server {
 public:
  EnumeratorProxy(ExtensionProcess::Use use, wire::Enumerator::Client enumerator)
      : _use(kj::mv(use)), _enumerator(kj::mv(enumerator)) {}

  kj::Promise<void> enumerateItems(EnumerateItemsContext context) override;
  kj::Promise<void> enumerateChanges(EnumerateChangesContext context) override;
  kj::Promise<void> currentSyncAnchor(CurrentSyncAnchorContext context) override;

 private:
  ExtensionProcess::Use _use;
  wire::Enumerator::Client _enumerator;
};
#pragma GCC diagnostic pop

}  // namespace tessera
