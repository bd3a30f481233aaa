#include "skiff/service/UpdateSenderServer.h"

#include "skiff/service/ItemLookup.h"
#include "skiff/service/SkiffServer.h"
#include "skiff/store/SkiffError.h"

namespace tessera {

namespace {
constexpr std::uint64_t kWholeSubtree = 0x4;
}

UpdateSenderServer::UpdateSenderServer(Daemon& daemon, WatcherHub::Receiver receiver)
    : _daemon(daemon), _receiver(std::move(receiver)) {}

UpdateSenderServer::~UpdateSenderServer() noexcept {
  end();
}

void UpdateSenderServer::end() {
  std::lock_guard lock(_watches->lock);
  _watches->ended = true;
  for (WatcherHub::Key key : _watches->keys) _daemon.watchers->remove(key);
  _watches->keys.clear();
}

kj::Promise<void> UpdateSenderServer::boostPriority(BoostPriorityContext) {
  return kj::READY_NOW;  // every watcher is served as soon as there is something
}

kj::Promise<void> UpdateSenderServer::watchItemAtPath(WatchItemAtPathContext context) {
  auto params = context.getParams();
  // The place in the sequence is taken now: a listing that the client asks for next shows at
  // least what was there at this moment, so nothing falls between the two.
  std::int64_t since = _daemon.store.sequence();
  bool subtree = (params.getOptions() & kWholeSubtree) != 0;
  return answerOnWorker(
             _daemon.loop, *_daemon.workers,
             [&daemon = _daemon, receiver = _receiver, watches = _watches, since, subtree,
              path = std::string(params.getPath().begin(), params.getPath().size())]() -> Nothing {
               StoredItem folder = ItemLookup(daemon).at(path);
               std::lock_guard lock(watches->lock);
               if (watches->ended) return {};
               watches->keys.push_back(daemon.watchers->add({folder.id, subtree, since}, receiver));
               return {};
             })
      .then([context](Answer<Nothing> answer) mutable {
        if (auto* error = std::get_if<ServiceError>(&answer)) {
          error->encode(context.getResults().initError());
        }
      });
}

kj::Promise<void> UpdateSenderServer::invalidate(InvalidateContext) {
  end();
  return kj::READY_NOW;
}

}  // namespace tessera
