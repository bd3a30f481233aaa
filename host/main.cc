#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>

#include <fmt/format.h>
#include <unistd.h>

#include "home/InstanceLock.h"
#include "host/Host.h"
#include "host/ReadyNotice.h"
#include "rpc/EventLoop.h"

namespace tessera {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr int kAnotherRuns = 3;

constexpr const char* kHelp =
    "Usage: fileproviderd [--foreground] [--ready-fd FD]\n"
    "\n"
    "The host service of a home (TESSERA_HOME, or this user's). `tessera up` starts it.\n"
    "\n"
    "  --foreground    write the log to standard error too\n"
    "  --ready-fd FD   write 'R' to the descriptor when ready, or why not\n"
    "  --version       print the version\n";

struct Arguments {
  bool foreground = false;
  int readyFd = -1;
};

// nullopt: `status` says how to end.
std::optional<Arguments> parse(int argc, char** argv, int& status) {
  Arguments arguments;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--help" || argument == "--version") {
      std::cout << (argument == "--help" ? kHelp : "fileproviderd " TESSERA_VERSION "\n");
      status = EXIT_SUCCESS;
      return std::nullopt;
    }
    char* end = nullptr;
    if (argument == "--foreground") {
      arguments.foreground = true;
    } else if (argument == "--ready-fd" && i + 1 < argc &&
               (arguments.readyFd = static_cast<int>(std::strtol(argv[++i], &end, 10))) > 2 &&
               *end == '\0') {
      continue;
    } else {
      std::cerr << "fileproviderd: wrong argument " << argument << "\n" << kHelp;
      status = kWrongUsage;
      return std::nullopt;
    }
  }
  return arguments;
}

int serve(const Home& home, HostLog& log, ReadyNotice& notice) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) kj::UnixEventPort::captureSignal(number);
  auto io = kj::setupAsyncIo();
  io.waitScope.setBusyPollInterval(kBusyPollInterval);
  HostLoop loop{*io.lowLevelProvider, io.unixEventPort, io.provider->getTimer(), log};
  Host host(home, loop, HostOptions::fromEnvironment());
  log.write(fmt::format("fileproviderd {} serves {}", TESSERA_VERSION, home.name().string()));
  notice.ready();
  auto signalled = io.unixEventPort.onSignal(SIGTERM)
                       .exclusiveJoin(io.unixEventPort.onSignal(SIGINT))
                       .exclusiveJoin(io.unixEventPort.onSignal(SIGHUP))
                       .then([&host](siginfo_t) { host.stop(); })
                       .eagerlyEvaluate(nullptr);
  host.run().wait(io.waitScope);
  log.write("stopped");
  return EXIT_SUCCESS;
}

int run(const Arguments& arguments) {
  ReadyNotice notice(arguments.readyFd);
  const auto refuse = [&notice](int status, const std::string& reason) {
    std::cerr << "fileproviderd: " << reason << "\n";
    notice.failed(reason);
    return status;
  };
  try {
    const Home home = Home::fromEnvironment();
    if (!home.exists()) {
      return refuse(kFailed, fmt::format("There is no instance in {}. Set it up with: tessera up",
                                         home.name().string()));
    }
    const auto lock = InstanceLock::tryAcquire(home.hostLock());
    if (!lock) {
      return refuse(kAnotherRuns,
                    fmt::format("fileproviderd runs already in {} (pid {}).", home.name().string(),
                                InstanceLock::holder(home.hostLock()).value_or(0)));
    }
    HostLog log(home.log() / "fileproviderd.log", arguments.foreground);
    return serve(home, log, notice);
  } catch (const std::exception& failure) {
    return refuse(kFailed, failure.what());
  } catch (const kj::Exception& failure) {
    return refuse(kFailed, failure.getDescription().cStr());
  }
}

}  // namespace
}  // namespace tessera

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  int status = EXIT_SUCCESS;
  const auto arguments = tessera::parse(argc, argv, status);
  return arguments ? tessera::run(*arguments) : status;
}
