#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>

#include "platform/foundation/NSError.h"
#include "platform/foundation/NSURL.h"
#include "platform/tessera/GVQueryItem.h"

namespace tessera {

using GVDictionary = std::map<std::string, std::string>;
using GVReply = std::function<void()>;
using GVErrorHandler = std::function<void(const NSErrorPtr&)>;

// Receives what the daemon pushes to a watcher. Calls come on the client library's
// threads, one at a time for one receiver; the next batch waits for the reply.
class GVItemNotificationReceiving {
 public:
  virtual ~GVItemNotificationReceiving() = default;
  // receiveUpdates:logicalExtensions:physicalExtensions:reply:
  virtual void receiveUpdates(const GVQueryItems& updates, const GVDictionary& logicalExtensions,
                              const GVDictionary& physicalExtensions, const GVReply& reply) = 0;
  // receiveProgressUpdates:reply:
  virtual void receiveProgressUpdates(const GVQueryItems& updates, const GVReply& reply) = 0;
};

// What a watcher may tell the daemon's update sender.
class GVItemNotificationSending {
 public:
  virtual ~GVItemNotificationSending() = default;
  // boostPriority: — the completion must not be empty
  virtual void boostPriority(const GVReply& completion) = 0;
  // watchItemAtURL:options:gatherReply: — the reply comes once the watch stands
  virtual void watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                              const GVErrorHandler& gatherReply) = 0;
  // invalidate — no more updates
  virtual void invalidate() = 0;
};

// An object elsewhere, from which proxies with an error handler are taken. The handler is
// called (once per failed call) instead of the call's own reply.
class NSXPCProxyCreating {
 public:
  virtual ~NSXPCProxyCreating() = default;
  // remoteObjectProxyWithErrorHandler:
  [[nodiscard]] virtual std::shared_ptr<GVItemNotificationSending>
  remoteObjectProxyWithErrorHandler(GVErrorHandler handler) = 0;
};

// The sender as it comes out of the daemon's reply.
class GVItemUpdateSender : public GVItemNotificationSending, public NSXPCProxyCreating {};

}  // namespace tessera
