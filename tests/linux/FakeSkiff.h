#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include <capnp/capability.h>

#include "home/Home.h"
#include "protocol/skiff.capnp.h"
#include "rpc/EventLoop.h"
#include "rpc/LoopBound.h"

namespace tessera {

// What a fake daemon does with each request; called on its loop. A request without a
// behaviour fails as one that it does not know.
struct SkiffBehaviour {
  template <class Params, class Results>
  using Handler = std::function<kj::Promise<void>(capnp::CallContext<Params, Results>)>;

  using Skiff = wire::Skiff;
  Handler<Skiff::EnumerateItemsInFolderParams, Skiff::EnumerateItemsInFolderResults> folder = {};
  Handler<Skiff::EnumerateAllFoldersParams, Skiff::EnumerateAllFoldersResults> allFolders = {};
  Handler<Skiff::EnumerateWorkingSetChangesParams, Skiff::EnumerateWorkingSetChangesResults>
      workingSet = {};
  Handler<Skiff::ItemAtPathParams, Skiff::ItemAtPathResults> itemAtPath = {};
  Handler<Skiff::DocumentPathParams, Skiff::DocumentPathResults> documentPath = {};
  Handler<Skiff::ResolveReferenceParams, Skiff::ResolveReferenceResults> resolveReference = {};
  Handler<Skiff::ContainerItemParams, Skiff::ContainerItemResults> containerItem = {};
  Handler<Skiff::UpdateSenderParams, Skiff::UpdateSenderResults> updateSender = {};
  Handler<Skiff::DownloadParams, Skiff::DownloadResults> download = {};
};

// A daemon that listens on a home's socket and does as it is told. Its destruction is the
// daemon's death: connections end.
//
// Threads: one loop of its own.
class FakeSkiff {
 public:
  FakeSkiff(const Home& home, SkiffBehaviour behaviour);
  FakeSkiff(const FakeSkiff&) = delete;
  FakeSkiff& operator=(const FakeSkiff&) = delete;

  [[nodiscard]] unsigned connections() const { return *_connections; }
  // For what handlers fulfil from the test's thread.
  [[nodiscard]] EventLoop& loop() { return _loop; }

 private:
  struct Serving;

  std::shared_ptr<std::atomic<unsigned>> _connections = std::make_shared<std::atomic<unsigned>>(0);
  EventLoop _loop;
  LoopBound<kj::Own<Serving>> _serving;
};

}  // namespace tessera
