#pragma once

#include <atomic>
#include <chrono>
#include <memory>

#include "protocol/skiff.capnp.h"
#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"
#include "skiff/importer/ImportReport.h"

namespace tessera {

// Passes an import's progress on to its client: at most one report every 100 ms, and none while
// the one before is unread.
// Threads: report() one; lifetime: longer than the import.
class ImportReporter {
 public:
  using Client = LoopBound<wire::ImportProgress::Client>;

  ImportReporter(EventLoop& loop, Client client) : _loop(loop), _client(std::move(client)) {}
  void report(const ImportProgress& progress);

 private:
  EventLoop& _loop;
  const Client _client;
  std::chrono::steady_clock::time_point _last;
  const std::shared_ptr<std::atomic<bool>> _unread = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace tessera
