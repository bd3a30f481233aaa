#include "host/SkiffSupervisor.h"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <kj/debug.h>
#include <unistd.h>

#include "home/InstanceLock.h"

namespace tessera {
namespace {

// The daemon's exit status when another one has the home's lock.
constexpr int kAnotherHasTheLock = 3;

}  // namespace

SkiffSupervisor::SkiffSupervisor(HostLoop& loop, const Home& home, SkiffOptions options)
    : _loop(loop), _home(home), _options(std::move(options)) {
  _running = kj::evalLater([this] {
               return keepRunning();
             }).eagerlyEvaluate([this](kj::Exception&& failure) {
    say(fmt::format("skiff is not watched any more: {}", failure.getDescription().cStr()));
  });
}

pid_t SkiffSupervisor::pid() const {
  KJ_IF_MAYBE (child, _child) {
    return (*child)->pid();
  }
  return _other;
}

void SkiffSupervisor::say(const std::string& message) {
  _message = message;
  if (!message.empty()) _loop.log.write(message);
}

kj::Promise<void> SkiffSupervisor::keepRunning() {
  return runOnce().then([this] { return keepRunning(); });
}

// One life of the daemon, and the pause after it.
kj::Promise<void> SkiffSupervisor::runOnce() {
  const auto begin = _loop.timer.now();
  try {
    start();
  } catch (const std::system_error& failure) {
    say(fmt::format("skiff cannot be started: {}", failure.what()));
    return _loop.timer.afterDelay(_pause.after(0 * kj::SECONDS));
  }
  auto& child = *KJ_ASSERT_NONNULL(_child);
  return child.whenEnded().then([this, begin] {
    const auto gone = kj::mv(KJ_ASSERT_NONNULL(_child));
    _child = nullptr;
    _lifeline = nullptr;
    return ended(*gone, _loop.timer.now() - begin);
  });
}

void SkiffSupervisor::start() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  const kj::AutoCloseFd far(ends[0]);
  kj::AutoCloseFd near(ends[1]);
  _child = kj::heap<ChildProcess>(
      _loop.port, ChildCommand{_options.program, {"--lifeline", "3"}, {}, far.get()},
      [&log = _loop.log](const std::string& line) { log.write("skiff: " + line); });
  _lifeline = kj::mv(near);
  ++_starts;
  _message.clear();
  _loop.log.write(fmt::format("skiff was started: pid {}", pid()));
}

kj::Promise<void> SkiffSupervisor::ended(const ChildProcess& child, kj::Duration lived) {
  const ChildEnd end = *child.end();
  _loop.log.write(fmt::format("skiff ended: pid {}, {}", child.pid(), end.describe()));
  if (end.exitedWith(kAnotherHasTheLock)) return useOther(child.lastLine());
  say(child.lastLine().empty() ? fmt::format("skiff ended unexpectedly ({})", end.describe())
                               : child.lastLine());
  return _loop.timer.afterDelay(_pause.after(lived));
}

// Until the other daemon has ended. When nobody has the lock any more, it has ended already.
kj::Promise<void> SkiffSupervisor::useOther(const std::string& reason) {
  const auto pause = _pause.after(0 * kj::SECONDS);
  try {
    const auto holder = InstanceLock::holder(_home.skiffLock());
    if (!holder || *holder <= 0) return _loop.timer.afterDelay(pause);
    auto watch = kj::heap<ProcessWatch>(_loop.port, *holder);
    _other = *holder;
    _loop.log.write(fmt::format("another skiff serves this home: pid {}", _other));
    return watch->whenEnded().then([this] { _other = 0; }).attach(kj::mv(watch));
  } catch (const std::exception& failure) {
    say(fmt::format("{} ({})", reason, failure.what()));
    return _loop.timer.afterDelay(pause);
  }
}

kj::Promise<void> SkiffSupervisor::stop() {
  _running = nullptr;
  KJ_IF_MAYBE (child, _child) {
    (*child)->signal(SIGTERM);
    return (*child)->endWithin(_loop.timer, _options.endPatience).then([this] {
      const auto gone = kj::mv(KJ_ASSERT_NONNULL(_child));
      _child = nullptr;
      _loop.log.write(fmt::format("skiff ended: pid {}, {}", gone->pid(), gone->end()->describe()));
    });
  }
  return kj::READY_NOW;
}

}  // namespace tessera
