#include "host/ExtensionHostService.h"

#include "host/HostError.h"

namespace tessera {

kj::Promise<void> ExtensionHostService::signalEnumerator(SignalEnumeratorContext context) {
  const auto container = context.getParams().getContainerIdentifier();
  const std::string name(container.begin(), container.end());
  if (!_signalled.signal(name)) {
    HostError::noItem(name.substr(0, 64)).encode(context.getResults().initError());
  }
  return kj::READY_NOW;
}

}  // namespace tessera
