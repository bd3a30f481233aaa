#pragma once

#include <memory>

#include "platform/dispatch/WorkerPool.h"
#include "platform/fileprovider/NSFileProviderExtension.h"
#include "protocol/extension.capnp.h"
#include "rpc/EventLoop.h"

namespace tessera {

// Servers are destroyed by whoever made them, as what they are: their base needs no virtual
// destructor, and has none.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// The extension's principal object, as the host calls it. Every request, the empty one
// included, runs on a thread of the pool: one that blocks holds up no other.
//
// Threads: the loop's.
class ExtensionService final : public wire::FileProviderExtension::Server {
 public:
  // The pool outlives this and every enumerator given out.
  ExtensionService(EventLoop& loop, WorkerPool& requests,
                   std::shared_ptr<NSFileProviderExtension> extension)
      : _loop(loop), _requests(requests), _extension(std::move(extension)) {}

  kj::Promise<void> ping(PingContext context) override;
  kj::Promise<void> itemForIdentifier(ItemForIdentifierContext context) override;
  kj::Promise<void> urlForItem(UrlForItemContext context) override;
  kj::Promise<void> identifierForItemAtPath(IdentifierForItemAtPathContext context) override;
  kj::Promise<void> enumeratorForContainer(EnumeratorForContainerContext context) override;
  kj::Promise<void> startProviding(StartProvidingContext context) override;
  kj::Promise<void> providePlaceholder(ProvidePlaceholderContext context) override;

 private:
  EventLoop& _loop;
  WorkerPool& _requests;
  const std::shared_ptr<NSFileProviderExtension> _extension;
};
#pragma GCC diagnostic pop

}  // namespace tessera
