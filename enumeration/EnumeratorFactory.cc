#include "core/CallerError.h"
#include "core/GVFileProviderExtension.h"
#include "enumeration/GVDirectoriesEnumerator.h"
#include "enumeration/GVFileEnumerator.h"
#include "enumeration/GVWorkingSetEnumerator.h"
#include "platform/fileprovider/NSFileProviderError.h"
#include "platform/tessera/GVFileObjectID.h"
#include "platform/tessera/GVLog.h"

namespace tessera {

NSFileProviderEnumeratorPtr GVFileProviderExtension::enumeratorForContainerItemIdentifier(
    const NSFileProviderItemIdentifier& identifier, NSErrorPtr* error) {
  const LogSection section;
  gvc_default_log().debug("[DEBUG] ┏%llx enumerator for %@", section.identifier(), identifier);
  if (!_isLoggedInOrError(error)) return nullptr;
  if (identifier == NSFileProviderWorkingSetContainerItemIdentifier) {
    return std::make_shared<GVWorkingSetEnumerator>();
  }
  if (identifier == NSFileProviderAllDirectoriesContainerItemIdentifier) {
    return std::make_shared<GVDirectoriesEnumerator>();
  }

  std::optional<GVFileObjectID> fileObjectID;
  if (identifier != NSFileProviderRootContainerItemIdentifier) {
    fileObjectID = GVFileObjectID::fileObjectIDWithString(identifier);
  }
  if (const NSURLPtr url = URLForItemWithPersistentIdentifier(identifier)) {
    return GVFileEnumerator::create(fileObjectID, url, identifier, false);
  }
  gv_handErrorToCaller("-[GVFileProviderExtension enumeratorForContainerItemIdentifier:error:]",
                       fileProviderErrorForNonExistentItemWithIdentifier(identifier), error);
  return nullptr;
}

}  // namespace tessera
