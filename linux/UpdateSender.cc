#include "linux/UpdateSender.h"

#include <utility>

#include "linux/ErrorCodec.h"
#include "linux/SkiffFailure.h"
#include "linux/UpdateSenderProxy.h"

namespace tessera {
namespace {

struct Done {};

}  // namespace

std::shared_ptr<UpdateSender> UpdateSender::make(SkiffClient& skiff, kj::Own<SkiffSession> session,
                                                 wire::UpdateSender::Client sender) {
  std::shared_ptr<UpdateSender> made(new UpdateSender(skiff));
  auto loss = session->whenDisconnected();
  auto remote = kj::heap<Remote>(Remote{kj::mv(session), kj::mv(sender)});
  remote->loss = loss.then([weak = std::weak_ptr<UpdateSender>(made)] {
                       if (auto self = weak.lock()) connectionLost(std::move(self));
                     })
                     .eagerlyEvaluate(nullptr);
  made->_remote = LoopBound<kj::Own<Remote>>(skiff.loop(), kj::mv(remote));
  return made;
}

// The handlers are the watchers' code, and run where that belongs. The reference to the
// sender goes there too: the loop must not be left with the last one, whose end takes the
// promise that is calling this with it.
void UpdateSender::connectionLost(std::shared_ptr<UpdateSender> self) {
  auto& callbacks = self->_skiff.callbacks();
  callbacks.post([self = std::move(self)] {
    std::vector<std::weak_ptr<UpdateSenderProxy>> proxies;
    const NSErrorPtr loss = skiffError({RpcFailure::Kind::Disconnected, "the connection ended"});
    {
      const auto watched = self->_watched.lock();
      watched->loss = loss;
      if (!watched->invalidated) proxies = std::exchange(watched->proxies, {});
    }
    for (const auto& weak : proxies) {
      if (const auto proxy = weak.lock()) proxy->connectionLost(loss);
    }
  });
}

std::shared_ptr<GVItemNotificationSending> UpdateSender::remoteObjectProxyWithErrorHandler(
    GVErrorHandler handler) {
  auto proxy = std::make_shared<UpdateSenderProxy>(shared_from_this(), std::move(handler));
  NSErrorPtr loss;
  {
    const auto watched = _watched.lock();
    std::erase_if(watched->proxies, [](const auto& weak) { return weak.expired(); });
    watched->proxies.push_back(proxy);
    if (!watched->invalidated) loss = watched->loss;
  }
  // Not on this thread: the caller may hold what its handler needs.
  if (loss) _skiff.callbacks().post([proxy, loss] { proxy->connectionLost(loss); });
  return proxy;
}

void UpdateSender::boost(GVReply completion, GVErrorHandler failed) {
  tessera::callAsync<Done>(
      _skiff.loop(), _skiff.callbacks(),
      [remote = _remote] {
        auto& [session, sender, loss] = *remote.get();
        return session->watch(
            sender.boostPriorityRequest().send().then([](auto&&) { return Done{}; }));
      },
      _skiff.patience().asynchronousCall,
      [completion = std::move(completion), failed = std::move(failed)](Outcome<Done> outcome) {
        if (outcome.ok()) {
          completion();
        } else {
          failed(skiffError(outcome.failure()));
        }
      });
}

void UpdateSender::watch(const NSURLPtr& url, std::uint64_t options, GVErrorHandler gatherReply,
                         GVErrorHandler failed) {
  tessera::callAsync<NSErrorPtr>(
      _skiff.loop(), _skiff.callbacks(),
      [remote = _remote, url, options] {
        auto& [session, sender, loss] = *remote.get();
        auto request = sender.watchItemAtPathRequest();
        request.setPath(url->path());
        request.setOptions(options);
        return session->watch(
            request.send().then([](auto&& results) { return decodeError(results.getError()); }));
      },
      _skiff.patience().asynchronousCall,
      [gatherReply = std::move(gatherReply),
       failed = std::move(failed)](Outcome<NSErrorPtr> outcome) {
        if (outcome.ok()) {
          gatherReply(outcome.value());
        } else {
          failed(skiffError(outcome.failure()));
        }
      });
}

void UpdateSender::boostPriority(const GVReply& completion) {
  boost(completion, [completion](const NSErrorPtr&) { completion(); });
}

void UpdateSender::watchItemAtURL(const NSURLPtr& url, std::uint64_t options,
                                  const GVErrorHandler& gatherReply) {
  watch(url, options, gatherReply, gatherReply);
}

void UpdateSender::invalidate() {
  {
    const auto watched = _watched.lock();
    if (watched->invalidated) return;
    watched->invalidated = true;
  }
  _skiff.loop().post([&loop = _skiff.loop(), remote = _remote] {
    // Nothing hangs on the answer; without a connection there is nothing to end.
    loop.add(remote.get()->sender.invalidateRequest().send().ignoreResult().catch_(
        [](kj::Exception&&) {}));
  });
}

}  // namespace tessera
