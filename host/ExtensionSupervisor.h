#pragma once

#include <cstdint>
#include <variant>

#include <kj/async.h>

#include "host/CrashBrake.h"
#include "host/ExtensionProcess.h"
#include "host/HostError.h"

namespace tessera {

// Starts the extension when it is needed, at most one at a time, and sees to it that each
// run is over before it is forgotten. After a crash the next request starts it again, unless
// it crashed too often.
//
// Threads: the loop's. Lifetime: the destructor kills what still runs.
class ExtensionSupervisor final : private kj::TaskSet::ErrorHandler {
 public:
  ExtensionSupervisor(HostLoop& loop, ExtensionOptions options, wire::ExtensionHost::Client host);

  // The running extension, started if need be, or why there is none.
  [[nodiscard]] std::variant<ExtensionProcess::Use, HostError> use();

  // 0 while it does not run.
  [[nodiscard]] pid_t pid() const;
  [[nodiscard]] std::uint32_t starts() const { return _starts; }
  [[nodiscard]] std::uint32_t crashes() const { return _crashes; }

  // Ends the extension; calls in flight fail, and use() refuses from now on. Resolves when
  // every run is over.
  [[nodiscard]] kj::Promise<void> stop();

 private:
  void start();
  void ended(ExtensionProcess& process);
  void taskFailed(kj::Exception&& exception) override;

  HostLoop& _loop;
  const ExtensionOptions _options;
  wire::ExtensionHost::Client _host;
  CrashBrake _brake;
  bool _stopping = false;
  std::uint32_t _starts = 0;
  std::uint32_t _crashes = 0;
  ExtensionProcess* _current = nullptr;  // owned by its task
  kj::TaskSet _runs;                     // one task a process, until it is gone
};

}  // namespace tessera
