#include "host/EnumeratorProxy.h"

#include "host/Forward.h"

namespace tessera {

using wire::Enumerator;

kj::Promise<void> EnumeratorProxy::enumerateItems(EnumerateItemsContext context) {
  auto request = _enumerator.enumerateItemsRequest();
  request.setStartingAt(context.getParams().getStartingAt());
  return forward<EnumerateItemsContext, Enumerator::EnumerateItemsResults>(
      context, _use.another(), request.send(),
      [context](auto response, auto) mutable { context.setResults(response); });
}

kj::Promise<void> EnumeratorProxy::enumerateChanges(EnumerateChangesContext context) {
  auto request = _enumerator.enumerateChangesRequest();
  request.setFromAnchor(context.getParams().getFromAnchor());
  return forward<EnumerateChangesContext, Enumerator::EnumerateChangesResults>(
      context, _use.another(), request.send(),
      [context](auto response, auto) mutable { context.setResults(response); });
}

kj::Promise<void> EnumeratorProxy::currentSyncAnchor(CurrentSyncAnchorContext context) {
  auto request = _enumerator.currentSyncAnchorRequest();
  return forward<CurrentSyncAnchorContext, Enumerator::CurrentSyncAnchorResults>(
      context, _use.another(), request.send(),
      [context](auto response, auto) mutable { context.setResults(response); });
}

}  // namespace tessera
