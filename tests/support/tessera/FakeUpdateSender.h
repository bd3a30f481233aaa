#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/tessera/GVItemNotification.h"
#include "tests/support/calls/CallQueue.h"
#include "tests/support/calls/CallRecorder.h"

namespace tessera {

// The daemon's update sender as it comes out of its reply. Its proxies are numbered from 1.
//
// Records "sender.boostPriority", "sender.invalidate" and "sender.watch(<path>, <options>)"
// for calls on the sender itself, and the same with "sender.proxy<N>." in front for calls on
// a proxy of it.
//
// Threads: any.
class FakeUpdateSender final : public GVItemUpdateSender {
 public:
  struct Boost {
    GVReply reply;
  };
  struct Watch {
    NSURLPtr url;
    std::uint64_t options;
    GVErrorHandler reply;
    GVErrorHandler failProxy;  // empty when asked of the sender itself
  };

  explicit FakeUpdateSender(CallRecorderPtr calls);
  ~FakeUpdateSender() override;

  // Calls the error handler of proxy `number` if somebody holds the proxy still.
  // Returns whether somebody does.
  bool triggerError(std::size_t number, const NSErrorPtr& error);
  [[nodiscard]] bool isProxyHeld(std::size_t number);

  std::shared_ptr<GVItemNotificationSending> remoteObjectProxyWithErrorHandler(
      GVErrorHandler handler) override;
  void boostPriority(const GVReply& completion) override;
  void watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                      const GVErrorHandler& gatherReply) override;
  void invalidate() override;

  CallQueue<Boost>& boosts() { return _state->boosts; }
  CallQueue<Watch>& watches() { return _state->watches; }

 private:
  class Proxy;
  struct State {
    explicit State(CallRecorderPtr recorder) : calls(std::move(recorder)) {}
    const CallRecorderPtr calls;
    CallQueue<Boost> boosts;
    CallQueue<Watch> watches;
  };

  [[nodiscard]] std::shared_ptr<Proxy> proxy(std::size_t number);

  // Proxies may outlive the sender, but they do not keep its pending calls.
  const std::shared_ptr<State> _state;
  std::mutex _lock;
  std::vector<std::weak_ptr<Proxy>> _proxies;  // guarded by _lock
};

}  // namespace tessera
