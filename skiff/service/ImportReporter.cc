#include "skiff/service/ImportReporter.h"

namespace tessera {

namespace {
constexpr std::chrono::milliseconds kPause{100};
}

void ImportReporter::report(const ImportProgress& progress) {
  auto now = std::chrono::steady_clock::now();
  if (now - _last < kPause || _unread->load()) return;
  _last = now;
  *_unread = true;
  _loop.post([&loop = _loop, client = _client, unread = _unread, progress] {
    auto request = client.get().reportRequest();
    request.setDocuments(progress.documents);
    request.setBytes(progress.bytes);
    request.setTotal(progress.total);
    // A client that does not take reports does without them.
    loop.add(request.send().then([unread] { *unread = false; }, [](kj::Exception&&) {}));
  });
}

}  // namespace tessera
