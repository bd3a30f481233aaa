#include "host/Host.h"

#include <charconv>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "host/ProgramFolder.h"

namespace tessera {
namespace {

constexpr const char* kIdleVariable = "TESSERA_EXTENSION_IDLE";
constexpr std::uint32_t kLongestIdle = 7 * 24 * 3600;

kj::Duration idleFromEnvironment(kj::Duration otherwise) {
  const char* value = std::getenv(kIdleVariable);
  if (value == nullptr || *value == '\0') return otherwise;
  const std::string_view text(value);
  std::uint32_t seconds = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size() ||
      seconds > kLongestIdle) {
    throw HomeError(std::string(kIdleVariable) + " is \"" + value +
                    "\"; set it to a number of seconds, at most a week.");
  }
  return seconds * kj::SECONDS;
}

}  // namespace

HostOptions HostOptions::fromEnvironment() {
  HostOptions options;
  options.extension.program = programPath("tessera-fileprovider");
  options.extension.idle = idleFromEnvironment(options.extension.idle);
  options.skiff.program = programPath("skiff");
  return options;
}

Host::Host(const Home& home, HostLoop& loop, HostOptions options)
    : _loop(loop),
      _extensions(loop, std::move(options.extension), kj::heap<ExtensionHostService>(_signalled)),
      _skiff(loop, home, std::move(options.skiff)),
      _service(kj::heap<FileProviderHostService>(home, _extensions, _skiff, [this] { stop(); })),
      _clients(loop.io, loop.timer) {
  auto pair = kj::newPromiseAndFulfiller<void>();
  _stop = kj::mv(pair.fulfiller);
  _stopped = kj::mv(pair.promise);
  UnixListener::Options listening;
  listening.holdsInstanceLock = true;
  _listener = std::make_unique<UnixListener>(
      loop.port, loop.timer, home.hostSocket(), listening,
      [this](AcceptedSocket socket) { _clients.add(std::move(socket), _service); });
}

void Host::stop() {
  _stop->fulfill();
}

kj::Promise<void> Host::run() {
  // Last: the answer to the request that stops it is sent before.
  return _stopped.then([this] { return kj::evalLast([this] { return windDown(); }); });
}

kj::Promise<void> Host::windDown() {
  _loop.log.write("stopping");
  _listener.reset();
  return _extensions.stop().then([this] { return _skiff.stop(); });
}

}  // namespace tessera
