#pragma once

#include <memory>

#include "platform/foundation/Guarded.h"
#include "platform/tessera/GVItemNotification.h"

namespace tessera {

class UpdateSender;

// A sender as one of its users sees it: calls that cannot be made go to the user's handler,
// and so does the loss of the connection, once, unless a failed call has told of it.
//
// Threads: any. Lifetime: keeps its sender; a call under way keeps the proxy.
class UpdateSenderProxy final : public GVItemNotificationSending,
                                public std::enable_shared_from_this<UpdateSenderProxy> {
 public:
  UpdateSenderProxy(std::shared_ptr<UpdateSender> sender, GVErrorHandler handler)
      : _sender(std::move(sender)), _handler(std::move(handler)) {}

  void boostPriority(const GVReply& completion) override;
  void watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                      const GVErrorHandler& gatherReply) override;
  void invalidate() override;

  // Called by the sender, not on the loop.
  void connectionLost(const NSErrorPtr& loss);

 private:
  struct State {
    unsigned calls = 0;  // under way
    bool told = false;   // the handler knows that the connection is lost
    NSErrorPtr loss;     // set once the connection is lost
  };

  void callStarted() { ++_state.lock()->calls; }
  void callSucceeded();
  void callFailed(const NSErrorPtr& error);
  void tellIfNobodyDid();
  void tell(const NSErrorPtr& error) const;

  const std::shared_ptr<UpdateSender> _sender;
  const GVErrorHandler _handler;
  Guarded<State> _state;
};

}  // namespace tessera
