#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

#include <kj/async-unix.h>
#include <kj/function.h>
#include <kj/io.h>
#include <kj/timer.h>
#include <sys/stat.h>

#include "rpc/AcceptedSocket.h"
#include "rpc/SocketFolder.h"

namespace tessera {

// A Unix socket that lets in this user's processes and root's, up to a number of
// connections, and hands them over. Whoever is not let in sees the connection end.
//
// Threads: those of one loop. Lifetime: the destructor stops listening and removes the
// socket (unless another one has taken its place); connections that were let in go on.
class UnixListener {
 public:
  struct Options {
    // The caller holds the lock of the only process that may listen here: a socket that is
    // there already was left behind, and is replaced.
    bool holdsInstanceLock = false;
    std::size_t mostConnections = 256;
  };
  // Called in the loop; what it throws is reported and ends that connection only.
  using Handler = kj::Function<void(AcceptedSocket)>;

  // The socket's folder is created if missing; it must be the user's own, mode 0700. Throws
  // std::system_error: EPERM for a folder that is not so, EADDRINUSE for a socket in use.
  UnixListener(kj::UnixEventPort& port, kj::Timer& timer, const std::filesystem::path& path,
               Options options, Handler handler);
  UnixListener(const UnixListener&) = delete;
  UnixListener& operator=(const UnixListener&) = delete;
  ~UnixListener() noexcept(false);

  [[nodiscard]] std::size_t connectionCount() const { return _slots.use_count() - 1; }

 private:
  void bindSocket(bool mayReplace);
  void removeStale() const;
  kj::Promise<void> acceptAll();
  void admit(kj::AutoCloseFd fd);

  kj::Timer& _timer;
  const Options _options;
  const std::string _name;
  const SocketFolder _folder;
  const kj::AutoCloseFd _socket;
  Handler _handler;
  struct stat _bound {};        // which file the socket is
  std::shared_ptr<int> _slots;  // shared with every connection that was let in
  kj::UnixEventPort::FdObserver _observer;
  kj::Promise<void> _accepting = nullptr;
};

}  // namespace tessera
