#pragma once

#include <memory>
#include <vector>

#include "linux/SkiffClient.h"
#include "platform/foundation/Guarded.h"
#include "platform/tessera/GVItemNotification.h"

namespace tessera {

class UpdateSenderProxy;

// The daemon's sender of updates for one watcher. The watch lasts as long as the sender or
// one of its proxies is kept, or until invalidate().
//
// When the connection is lost, every proxy's error handler is called: that is how a watcher
// learns that nothing more will come. A proxy whose own call fails with the connection is
// told by that call's failure, not once more. After invalidate() nobody is told.
//
// Threads: any.
class UpdateSender final : public GVItemUpdateSender,
                           public std::enable_shared_from_this<UpdateSender> {
 public:
  // On the loop; `session` is the one that `sender` came over.
  [[nodiscard]] static std::shared_ptr<UpdateSender> make(SkiffClient& skiff,
                                                          kj::Own<SkiffSession> session,
                                                          wire::UpdateSender::Client sender);

  // Calls on the sender itself: a connection error goes to the watch's reply, and is kept
  // from the others.
  void boostPriority(const GVReply& completion) override;
  void watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                      const GVErrorHandler& gatherReply) override;
  void invalidate() override;

  [[nodiscard]] std::shared_ptr<GVItemNotificationSending> remoteObjectProxyWithErrorHandler(
      GVErrorHandler handler) override;

  // The calls as a proxy makes them: exactly one of the two handlers is called, once.
  void boost(GVReply completion, GVErrorHandler failed);
  void watch(const NSURLPtr& url, std::uint64_t options, GVErrorHandler gatherReply,
             GVErrorHandler failed);

 private:
  // What is on the loop: dropped with the last user, which tells the daemon.
  struct Remote {
    kj::Own<SkiffSession> session;
    wire::UpdateSender::Client sender;
    kj::Promise<void> loss = nullptr;
  };
  struct Watched {
    std::vector<std::weak_ptr<UpdateSenderProxy>> proxies;
    bool invalidated = false;
    NSErrorPtr loss;  // set once the connection is lost
  };

  explicit UpdateSender(SkiffClient& skiff) : _skiff(skiff) {}
  static void connectionLost(std::shared_ptr<UpdateSender> self);

  SkiffClient& _skiff;
  LoopBound<kj::Own<Remote>> _remote;  // constant once made
  Guarded<Watched> _watched;
};

}  // namespace tessera
