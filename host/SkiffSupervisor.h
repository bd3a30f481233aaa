#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include <kj/async.h>
#include <kj/io.h>

#include "home/Home.h"
#include "host/ChildProcess.h"
#include "host/HostLoop.h"
#include "host/RestartPause.h"

namespace tessera {

struct SkiffOptions {
  std::filesystem::path program;
  // How long it may take to end after SIGTERM.
  kj::Duration endPatience = 10 * kj::SECONDS;
};

// Keeps the sync daemon running: starts it, and starts it again when it has ended. A daemon
// that somebody else started for this home is used as it is, and replaced once it has ended.
//
// The daemon holds the reading end of a pipe whose other end is here, and ends when this
// process does, however that comes about.
//
// Threads: the loop's. Lifetime: the destructor kills the daemon; stop() is the way to end.
class SkiffSupervisor {
 public:
  // Starts it in a later turn of the loop. `home` outlives this.
  SkiffSupervisor(HostLoop& loop, const Home& home, SkiffOptions options);
  SkiffSupervisor(const SkiffSupervisor&) = delete;
  SkiffSupervisor& operator=(const SkiffSupervisor&) = delete;

  // 0 while it does not run.
  [[nodiscard]] pid_t pid() const;
  [[nodiscard]] std::uint32_t starts() const { return _starts; }
  // Why it does not run; empty while it does.
  [[nodiscard]] const std::string& message() const { return _message; }

  // Ends the daemon and starts none any more. Resolves when it is gone.
  [[nodiscard]] kj::Promise<void> stop();

 private:
  kj::Promise<void> keepRunning();
  kj::Promise<void> runOnce();
  void start();
  kj::Promise<void> ended(const ChildProcess& child, kj::Duration lived);
  kj::Promise<void> useOther(const std::string& reason);
  void say(const std::string& message);

  HostLoop& _loop;
  const Home& _home;
  const SkiffOptions _options;
  RestartPause _pause;
  std::uint32_t _starts = 0;
  std::string _message;
  pid_t _other = 0;  // a daemon that is not ours
  kj::AutoCloseFd _lifeline;
  kj::Maybe<kj::Own<ChildProcess>> _child;
  kj::Promise<void> _running = nullptr;
};

}  // namespace tessera
