#include "core/GVFileProviderExtension.h"

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/fileprovider/NSFileProviderManager.h"
#include "platform/foundation/NSNotificationCenter.h"
#include "platform/tessera/GVAccount.h"
#include "platform/tessera/GVLog.h"

namespace tessera {

GVFileProviderExtension::GVFileProviderExtension() {
  _operationQueue = std::make_shared<NSOperationQueue>();
  _queue = DispatchQueue::serial("fileprovider-portfolio");
}

std::shared_ptr<GVFileProviderExtension> GVFileProviderExtension::create() {
  const std::shared_ptr<GVFileProviderExtension> made(new GVFileProviderExtension);
  GVAccount::startAccountTokenChangeObserverIfNeeded();
  NSNotificationCenter::defaultCenter().addObserver(made.get(), GVAccountTokenDidChangeNotification,
                                                    [weak = std::weak_ptr(made)] {
                                                      if (const auto self = weak.lock())
                                                        self->_accountDidChange();
                                                    });
  return made;
}

GVFileProviderExtension::~GVFileProviderExtension() {
  NSNotificationCenter::defaultCenter().removeObserver(this, GVAccountTokenDidChangeNotification);
}

// Nothing is invalidated here: the file enumerators see to themselves.
void GVFileProviderExtension::_accountDidChange() {
  gvc_default_log().debug(
      "[DEBUG] received account did update notification, signal changes to fileproviderd");
  NSFileProviderManager::defaultManager().signalEnumeratorForContainerItemIdentifier(
      NSFileProviderRootContainerItemIdentifier, [](const NSErrorPtr& error) {
        if (error) {
          gvc_default_log().error("[ERROR] failed to signal enumerator for root container: %@",
                                  error);
        }
      });
}

}  // namespace tessera
