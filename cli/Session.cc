#include "cli/Session.h"

#include <system_error>

#include <fmt/format.h>

#include "cli/ServiceLink.h"
#include "rpc/UnixConnect.h"

namespace tessera {
namespace {

// The loop learns of Ctrl-C through the signal's descriptor, which must be asked for before
// the loop is made.
kj::AsyncIoContext setUpLoop() {
  kj::UnixEventPort::captureSignal(SIGINT);
  return kj::setupAsyncIo();
}

enum class Answer { Came, Lost, TooLate };

}  // namespace

Session::Session(const Home& home) : _home(home), _io(setUpLoop()) {}

Session::~Session() noexcept(false) = default;

template <class Interface>
bool Session::answers(std::unique_ptr<ServiceLink>& link, const std::filesystem::path& socket) {
  if (link && link->isOpen()) return true;
  std::error_code error;
  kj::AutoCloseFd connected = connectUnix(socket, error);
  if (error == std::errc::no_such_file_or_directory || error == std::errc::connection_refused ||
      error == std::errc::not_a_directory) {
    return false;
  }
  if (error) {
    throw CliError(fmt::format("Cannot connect to {}: {}.", socket.string(), error.message()));
  }
  link = ServiceLink::open(_io, kj::mv(connected), static_cast<Interface*>(nullptr));
  return true;
}

bool Session::hostAnswers() {
  return answers<wire::FileProviderHost>(_host, _home.hostSocket());
}

bool Session::skiffAnswers() {
  return answers<wire::Skiff>(_skiff, _home.skiffSocket());
}

CliError Session::notRunning() const {
  return CliError("The instance in " + _home.name().string() +
                  " is not running. Start it with: tessera up");
}

wire::FileProviderHost::Client Session::host() {
  if (!hostAnswers()) throw notRunning();
  return _host->client<wire::FileProviderHost>();
}

wire::Skiff::Client Session::skiff() {
  if (skiffAnswers()) return _skiff->client<wire::Skiff>();
  if (!hostAnswers()) throw notRunning();
  // The host starts the daemon again when it has ended: a moment's patience.
  for (int tries = 0; tries < 50; ++tries) {
    pause(100 * kj::MILLISECONDS);
    if (skiffAnswers()) return _skiff->client<wire::Skiff>();
  }
  auto status = wait(host().statusRequest().send());
  const std::string reason = status.getStatus().getSkiffMessage().cStr();
  throw CliError("GVTesseraErrorDomain", 3,
                 "The sync daemon (skiff) does not run. " +
                     (reason.empty() ? "It is being started again; see tessera status." : reason));
}

wire::Admin::Client Session::admin() {
  return skiff().adminRequest().send().getAdmin();
}

void Session::confirmDaemonAnswers() {
  constexpr int kTries = 50;
  for (int tries = 0; tries < kTries; ++tries) {
    auto ping = skiff().pingRequest().send().ignoreResult().then(
        [] { return Answer::Came; },
        [](kj::Exception&& failure) {
          // One that is just ending still took the connection.
          return failure.getType() == kj::Exception::Type::DISCONNECTED ? Answer::Lost
                                                                        : Answer::Came;
        });
    auto patience =
        _io.provider->getTimer().afterDelay(5 * kj::SECONDS).then([] { return Answer::TooLate; });
    const Answer answer = wait(ping.exclusiveJoin(kj::mv(patience)));
    if (answer == Answer::Came) return;
    if (answer == Answer::TooLate) break;
    pause(100 * kj::MILLISECONDS);
  }
  throw CliError("GVTesseraErrorDomain", 3,
                 "The sync daemon (skiff) does not answer. tessera status says how it is.");
}

void Session::pause(kj::Duration duration) {
  wait(_io.provider->getTimer().afterDelay(duration));
}

void Session::explain(const kj::Exception& failure) const {
  if (_interrupted) throw CliError("Interrupted.", kStatusInterrupted);
  if (failure.getType() == kj::Exception::Type::DISCONNECTED) {
    throw CliError("NSCocoaErrorDomain", 4097,
                   "The service went away or stopped answering. Try again, or start the instance "
                   "with: tessera up");
  }
  throw CliError("NSCocoaErrorDomain", 4097,
                 std::string("The service failed: ") + failure.getDescription().cStr());
}

}  // namespace tessera
