#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "protocol/skiff.capnp.h"
#include "skiff/service/Daemon.h"
#include "skiff/service/WatcherHub.h"

namespace tessera {

// Servers are destroyed by the capability library, which knows their type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// One client's watches; they end when the client drops it or says so.
// Threads: the loop's.
class UpdateSenderServer final : public wire::UpdateSender::Server {
 public:
  UpdateSenderServer(Daemon& daemon, WatcherHub::Receiver receiver);
  ~UpdateSenderServer() noexcept;

 protected:
  kj::Promise<void> boostPriority(BoostPriorityContext context) override;
  kj::Promise<void> watchItemAtPath(WatchItemAtPathContext context) override;
  kj::Promise<void> invalidate(InvalidateContext context) override;

 private:
  // Shared with work that is still under way when this object goes.
  struct Watches {
    std::mutex lock;
    std::vector<WatcherHub::Key> keys;
    bool ended = false;
  };
  void end();

  Daemon& _daemon;
  const WatcherHub::Receiver _receiver;
  const std::shared_ptr<Watches> _watches = std::make_shared<Watches>();
};

#pragma GCC diagnostic pop

}  // namespace tessera
