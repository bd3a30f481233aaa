#pragma once

#include <filesystem>
#include <utility>

#include "linux/SkiffSession.h"
#include "rpc/EventLoop.h"

namespace tessera {

// The way to the daemon: connects when somebody asks for it, and again after a connection
// was lost. While the daemon is not there, connecting is tried again for a while, once for
// all who wait; then they all fail, and the next one who asks begins anew.
//
// Threads: the loop's.
class SkiffLink {
 public:
  SkiffLink(EventLoop& loop, std::filesystem::path socket, const SkiffPatience& patience)
      : _loop(loop), _socket(std::move(socket)), _patience(patience) {}
  SkiffLink(const SkiffLink&) = delete;
  SkiffLink& operator=(const SkiffLink&) = delete;

  // An open session. Fails as DISCONNECTED with kSkiffNotRunning.
  [[nodiscard]] kj::Promise<kj::Own<SkiffSession>> session();
  // Ends the connection and makes no more: every call fails from now on.
  void close();

 private:
  kj::ForkedPromise<void> startConnecting();
  kj::Promise<void> connect(kj::TimePoint giveUp);

  EventLoop& _loop;
  const std::filesystem::path _socket;
  const SkiffPatience _patience;
  bool _closed = false;
  kj::Maybe<kj::Own<SkiffSession>> _session;  // the latest; may have ended
  bool _connecting = false;
  kj::ForkedPromise<void> _attempt{nullptr};  // to connect, the latest
};

}  // namespace tessera
