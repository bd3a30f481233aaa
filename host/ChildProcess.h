#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <kj/async-unix.h>
#include <kj/timer.h>
#include <sys/types.h>

#include "host/ChildOutput.h"
#include "host/ProcessWatch.h"

namespace tessera {

struct ChildCommand {
  std::filesystem::path program;
  std::vector<std::string> arguments;    // without the program's name
  std::vector<std::string> environment;  // "NAME=value", besides this process's own
  int inherited = -1;                    // what the child has as descriptor 3, if any
};

// How a process ended.
struct ChildEnd {
  bool exited = false;  // false: by a signal
  int number = 0;       // exit status, or the signal

  [[nodiscard]] bool exitedWith(int status) const { return exited && number == status; }
  [[nodiscard]] std::string describe() const;
};

// A program started by this one. It gets descriptors 0 (nothing to read), 1 and 2 (read
// here line by line), 3 if one is given, and no other; no signal is blocked or ignored.
//
// Threads: the loop's. Lifetime: a child that still runs when this goes is killed and
// waited for.
class ChildProcess {
 public:
  // Throws std::system_error when it cannot be started.
  ChildProcess(kj::UnixEventPort& port, const ChildCommand& command,
               ChildOutput::LineHandler onLine);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();

  [[nodiscard]] pid_t pid() const { return _spawned.pid; }
  // nullopt while it runs.
  [[nodiscard]] const std::optional<ChildEnd>& end() const { return _end; }
  // What it wrote last; complete once it has ended.
  [[nodiscard]] const std::string& lastLine() const { return _output.lastLine(); }
  // Nothing happens when it has ended.
  void signal(int number) const;

  [[nodiscard]] kj::Promise<void> whenEnded() { return _ended.addBranch(); }
  // When it has ended; by SIGKILL if it takes longer than `patience`.
  [[nodiscard]] kj::Promise<void> endWithin(kj::Timer& timer, kj::Duration patience);

 private:
  struct Spawned {
    pid_t pid;
    kj::AutoCloseFd output;
  };
  static Spawned spawn(const ChildCommand& command);
  void collect();

  Spawned _spawned;
  std::optional<ChildEnd> _end;
  ProcessWatch _watch;
  ChildOutput _output;
  kj::ForkedPromise<void> _ended;
};

}  // namespace tessera
