#include "host/ExtensionProcess.h"

#include <cerrno>
#include <csignal>
#include <system_error>

#include <fmt/format.h>
#include <sys/socket.h>

namespace tessera {
namespace {

constexpr kj::Duration kCrashPatience = 1 * kj::SECONDS;

// Its descriptor 3 is the socket.
ChildCommand commandFor(const ExtensionOptions& options, int socket) {
  return {options.program, {}, {"TESSERA_EXTENSION_SOCKET=3"}, socket};
}

kj::Promise<void> disconnection(RpcConnection& connection) {
  auto pair = kj::newPromiseAndFulfiller<void>();
  connection.onDisconnect([fulfiller = kj::mv(pair.fulfiller)]() mutable { fulfiller->fulfill(); });
  return kj::mv(pair.promise);
}

kj::Promise<void> ping(wire::FileProviderExtension::Client& service) {
  return service.pingRequest().send().ignoreResult();
}

}  // namespace

ExtensionProcess::Use::Use(kj::Own<Link> link) : _link(kj::mv(link)) {
  if (_link->process != nullptr) _link->process->useBegan();
}

ExtensionProcess::Use::~Use() {
  if (_link.get() != nullptr && _link->process != nullptr) _link->process->useEnded();
}

ExtensionProcess::Sockets ExtensionProcess::makeSockets() {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  return {kj::AutoCloseFd(ends[0]), kj::AutoCloseFd(ends[1])};
}

ExtensionProcess::ExtensionProcess(HostLoop& loop, const ExtensionOptions& options,
                                   wire::ExtensionHost::Client host)
    : ExtensionProcess(loop, options, kj::mv(host), makeSockets()) {}

ExtensionProcess::ExtensionProcess(HostLoop& loop, const ExtensionOptions& options,
                                   wire::ExtensionHost::Client host, Sockets sockets)
    : _loop(loop),
      _options(options),
      _child(loop.port, commandFor(options, sockets.far.get()),
             [&log = loop.log](const std::string& line) { log.write("extension: " + line); }),
      _connection(loop.io, loop.timer, kj::mv(sockets.near), RpcConnection::Side::Client,
                  kj::mv(host)),
      _link(kj::refcounted<Link>(this, _connection.bootstrapAs<wire::FileProviderExtension>())),
      _guard(_connection, loop.timer, options.pingEvery, options.pingPatience,
             [this] { return ping(_link->service); }),
      _disconnected(disconnection(_connection).fork()) {
  // A process that left its socket to another one has ended all the same.
  _childWatch = _child.whenEnded().then([this] { _connection.close(); }).eagerlyEvaluate(nullptr);
}

ExtensionProcess::~ExtensionProcess() {
  _link->process = nullptr;
}

ExtensionProcess::Use ExtensionProcess::use() {
  return Use(kj::addRef(*_link));
}

void ExtensionProcess::useBegan() {
  ++_uses;
  _idleTimer = nullptr;
}

void ExtensionProcess::useEnded() {
  if (--_uses > 0 || !isUsable()) return;
  _idleTimer =
      _loop.timer.afterDelay(_options.idle).then([this] { end(); }).eagerlyEvaluate(nullptr);
}

void ExtensionProcess::end() {
  _endsOnPurpose = true;
  _connection.close();
}

// A crash takes a moment to be over (the kernel may write the process to disk); whatever
// takes longer hangs.
kj::Promise<void> ExtensionProcess::whenGone() {
  return _child.endWithin(_loop.timer, _endsOnPurpose ? _options.endPatience : kCrashPatience);
}

std::string ExtensionProcess::describeEnd() const {
  const auto& end = _child.end();
  return fmt::format("pid {}, {}", _child.pid(), end ? end->describe() : "still there");
}

}  // namespace tessera
