#include "platform/tessera/GVQueryItem.h"

#include "platform/fileprovider/NSFileProviderIdentifiers.h"
#include "platform/foundation/InstalledBackend.h"
#include "platform/foundation/TextSink.h"
#include "platform/tessera/GVContainer.h"

namespace tessera {

GVQueryItemPtr GVQueryItem::containerItemForContainer(const GVContainerPtr& container,
                                                      bool forceScan) {
  if (!container) return nullptr;
  return InstalledBackend<Backend>::get().containerItem(container, forceScan);
}

GVQueryItemPtr GVQueryItem::askDaemonQueryItemForURL(const NSURLPtr& url, bool andFakeFSEvent,
                                                     NSErrorPtr* error) {
  return InstalledBackend<Backend>::get().itemAtURL(url, andFakeFSEvent, error);
}

NSFileProviderItemIdentifier GVQueryItem::itemIdentifier() const {
  if (_fields.isRoot) return NSFileProviderRootContainerItemIdentifier;
  return _fields.fileObjectID.asString();
}

NSFileProviderItemIdentifier GVQueryItem::parentItemIdentifier() const {
  if (_fields.isRoot || _fields.parentIsRoot || !_fields.parentFileObjectID) {
    return NSFileProviderRootContainerItemIdentifier;
  }
  return _fields.parentFileObjectID->asString();
}

void GVQueryItem::describe(TextSink& sink) const {
  sink.append("<GVQueryItem ");
  sink.append(itemIdentifier());
  if (_fields.isDead) {
    sink.append(" dead>");
    return;
  }
  sink.append(_fields.isFolder ? " folder '" : " document '");
  sink.append(_fields.filename);
  sink.append("'");
  if (_fields.documentSize) {
    sink.append(" ");
    sink.append(std::to_string(*_fields.documentSize));
    sink.append(" bytes");
  }
  sink.append(">");
}

}  // namespace tessera
