#include "linux/RemoteDownload.h"

#include <utility>

#include "linux/ErrorCodec.h"
#include "linux/SkiffFailure.h"

namespace tessera {

// The operation is not needed to name the request: each has its own object, and so its own
// call, here. The reply keeps it alive.
void RemoteDownload::startOperation(const std::shared_ptr<GVOperation>&,
                                    const NSURLPtr& toDownloadItemAtURL,
                                    std::uint64_t readingOptions, bool wantsCurrentVersion,
                                    Reply reply) {
  const CallHandle call = _skiff.callAsyncUnlimited<NSErrorPtr>(
      [url = toDownloadItemAtURL, readingOptions, wantsCurrentVersion](SkiffSession& session) {
        auto request = session.skiff().downloadRequest();
        request.setPath(url->path());
        request.setReadingOptions(readingOptions);
        request.setWantsCurrentVersion(wantsCurrentVersion);
        return request.send().then([](auto&& results) { return decodeError(results.getError()); });
      },
      [reply = std::move(reply)](Outcome<NSErrorPtr> outcome) {
        reply(outcome.ok() ? outcome.value() : skiffError(outcome.failure()));
      });
  const auto state = _state.lock();
  state->call = call;
  if (state->cancelled) call.cancel();
}

void RemoteDownload::cancelOperation(GVOperation&) {
  const auto state = _state.lock();
  state->cancelled = true;
  state->call.cancel();
}

}  // namespace tessera
