#pragma once

#include <cstddef>
#include <filesystem>

#include <kj/refcount.h>
#include <sys/types.h>

#include "host/ChildProcess.h"
#include "host/HostLoop.h"
#include "protocol/extension.capnp.h"
#include "rpc/LivenessGuard.h"
#include "rpc/RpcConnection.h"

namespace tessera {

struct ExtensionOptions {
  std::filesystem::path program;
  // With no request in flight and no enumerator for this long, it is ended.
  kj::Duration idle = 60 * kj::SECONDS;
  // While requests are in flight it is pinged after every `pingEvery`; one that does not
  // answer within `pingPatience` hangs, and is killed.
  kj::Duration pingEvery = 2 * kj::SECONDS;
  kj::Duration pingPatience = 10 * kj::SECONDS;
  // How long it may take to end once its socket was closed.
  kj::Duration endPatience = 5 * kj::SECONDS;
};

// One run of the extension: the process, and the connection to it.
//
// Invariant: once the connection has ended, for whatever reason, every call on it has
// failed, and the process ends within bounded time.
// Threads: the loop's. Lifetime: the supervisor's; uses of it may go later (a request that
// nobody waits for any more may be let go by the loop itself, as the last thing of all).
class ExtensionProcess {
 public:
  // Starts it. `host` is what it finds at the other end. Throws std::system_error.
  ExtensionProcess(HostLoop& loop, const ExtensionOptions& options,
                   wire::ExtensionHost::Client host);

  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;
  // Kills what still runs.
  ~ExtensionProcess();

  class Use;
  [[nodiscard]] Use use();

  [[nodiscard]] pid_t pid() const { return _child.pid(); }
  // Whether a new request may be sent to it.
  [[nodiscard]] bool isUsable() const { return _connection.isOpen() && !_endsOnPurpose; }
  // False for a process that crashed, hung, or was killed.
  [[nodiscard]] bool endsOnPurpose() const { return _endsOnPurpose; }
  // Closes its socket, on which it ends.
  void end();
  [[nodiscard]] kj::Promise<void> whenDisconnected() { return _disconnected.addBranch(); }
  // To be called once disconnected: when the process has ended too.
  [[nodiscard]] kj::Promise<void> whenGone();
  // How it ended; to be called once it has.
  [[nodiscard]] std::string describeEnd() const;

 private:
  struct Sockets {
    kj::AutoCloseFd near;
    kj::AutoCloseFd far;
  };

  // What its uses hold.
  struct Link : kj::Refcounted {
    Link(ExtensionProcess* p, wire::FileProviderExtension::Client s)
        : process(p), service(kj::mv(s)) {}
    ExtensionProcess* process;  // nullptr once it has gone
    wire::FileProviderExtension::Client service;
  };

  ExtensionProcess(HostLoop& loop, const ExtensionOptions& options,
                   wire::ExtensionHost::Client host, Sockets sockets);
  static Sockets makeSockets();
  void useBegan();
  void useEnded();

  HostLoop& _loop;
  const ExtensionOptions& _options;
  ChildProcess _child;
  RpcConnection _connection;
  kj::Own<Link> _link;
  LivenessGuard _guard;
  bool _endsOnPurpose = false;
  std::size_t _uses = 0;
  kj::ForkedPromise<void> _disconnected;
  kj::Promise<void> _childWatch = nullptr;
  kj::Promise<void> _idleTimer = nullptr;
};

// A request in flight, or an enumerator: while there is one the process is not idle.
// Threads: the loop's. Lifetime: any.
class ExtensionProcess::Use {
 public:
  explicit Use(kj::Own<Link> link);
  Use(Use&&) = default;
  Use& operator=(Use&&) = delete;
  ~Use();

  [[nodiscard]] Use another() { return Use(kj::addRef(*_link)); }
  [[nodiscard]] wire::FileProviderExtension::Client& service() { return _link->service; }
  // Counts the call as one in flight: a process that hangs is noticed.
  template <class R>
  [[nodiscard]] kj::Promise<R> watch(kj::Promise<R> call) {
    if (_link->process == nullptr) return call;
    return _link->process->_guard.watch(kj::mv(call));
  }

 private:
  kj::Own<Link> _link;
};

}  // namespace tessera
