#include "host/ExtensionSupervisor.h"

#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace tessera {

ExtensionSupervisor::ExtensionSupervisor(HostLoop& loop, ExtensionOptions options,
                                         wire::ExtensionHost::Client host)
    : _loop(loop), _options(std::move(options)), _host(kj::mv(host)), _runs(*this) {}

std::variant<ExtensionProcess::Use, HostError> ExtensionSupervisor::use() {
  if (_stopping) return HostError::stopping();
  if (_current != nullptr && _current->isUsable()) return _current->use();
  const auto pause = _brake.remaining(_loop.timer.now());
  if (pause > 0 * kj::SECONDS) return HostError::extensionKeepsEnding(pause);
  try {
    start();
  } catch (const std::system_error& failure) {
    _loop.log.write(fmt::format("the extension cannot be started: {}", failure.what()));
    return HostError::extensionCannotBeStarted(failure.what());
  }
  return _current->use();
}

void ExtensionSupervisor::start() {
  auto process = kj::heap<ExtensionProcess>(_loop, _options, _host);
  ++_starts;
  _loop.log.write(fmt::format("the extension was started: pid {}", process->pid()));
  auto& run = *process;
  _current = &run;
  _runs.add(run.whenDisconnected()
                .then([this, &run] {
                  ended(run);
                  return run.whenGone();
                })
                .then([this, &run] {
                  _loop.log.write(fmt::format("the extension is gone: {}", run.describeEnd()));
                })
                .attach(kj::mv(process)));
}

void ExtensionSupervisor::ended(ExtensionProcess& process) {
  if (_current == &process) _current = nullptr;
  if (process.endsOnPurpose()) return;
  ++_crashes;
  _brake.crashed(_loop.timer.now());
  _loop.log.write(fmt::format("the extension ended unexpectedly: pid {}", process.pid()));
}

pid_t ExtensionSupervisor::pid() const {
  return _current != nullptr && _current->isUsable() ? _current->pid() : 0;
}

kj::Promise<void> ExtensionSupervisor::stop() {
  _stopping = true;
  if (_current != nullptr) _current->end();
  return _runs.onEmpty();
}

void ExtensionSupervisor::taskFailed(kj::Exception&& exception) {
  _loop.log.write(fmt::format("watching the extension failed: {}", kj::str(exception).cStr()));
}

}  // namespace tessera
