// skiff: keeps a home's tree in step with the cloud.
//
// Exit status: 0 after a graceful end, 1 when the home cannot be served, 2 for wrong usage, 3
// when another skiff serves it already.

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "home/Home.h"
#include "home/HomeConfig.h"
#include "home/InstanceLock.h"
#include "skiff/log/DaemonLog.h"
#include "skiff/service/Daemon.h"

namespace tessera {
namespace {

constexpr int kCannotServe = 1;
constexpr int kWrongUsage = 2;
constexpr int kServedAlready = 3;

struct Options {
  int lifeline = -1;  // its end means that whoever started us is gone; -1 is none
};

std::optional<Options> parseOptions(int argc, char** argv) {
  Options options;
  for (int index = 1; index < argc; ++index) {
    std::string_view argument = argv[index];
    if (argument != "--lifeline" || index + 1 == argc) return std::nullopt;
    std::string_view value = argv[++index];
    auto [end, error] =
        std::from_chars(value.data(), value.data() + value.size(), options.lifeline);
    if (error != std::errc() || end != value.data() + value.size() || options.lifeline < 0) {
      return std::nullopt;
    }
  }
  return options;
}

// Blocks the signals that ask for an end in this thread, and so in all that it starts.
int catchEnd() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC);
}

// Returns why the daemon is to end.
std::string waitForEnd(int signals, int lifeline) {
  pollfd watched[] = {{signals, POLLIN, 0}, {lifeline, POLLIN, 0}};
  for (;;) {
    if (::poll(watched, 2, -1) < 0) {
      if (errno == EINTR) continue;
      return "waiting failed";
    }
    if (watched[0].revents != 0) return "asked to end";
    if (watched[1].revents == 0) continue;
    char ignored = 0;
    ssize_t length = ::read(lifeline, &ignored, 1);
    if (length == 0 || (length < 0 && errno != EINTR && errno != EAGAIN)) {
      return "whoever started it is gone";
    }
  }
}

int serve(const Home& home, const Options& options) {
  int signals = catchEnd();
  std::optional<HomeConfig> config = home.exists() ? HomeConfig::load(home) : std::nullopt;
  if (!config) {
    std::fprintf(stderr, "skiff: %s was never set up. Set it up with: tessera up\n",
                 home.name().c_str());
    return kCannotServe;
  }
  std::optional<InstanceLock> lock = InstanceLock::tryAcquire(home.skiffLock());
  if (!lock) {
    std::fprintf(stderr, "skiff: another one serves %s already (process %d)\n", home.name().c_str(),
                 InstanceLock::holder(home.skiffLock()).value_or(0));
    return kServedAlready;
  }
  DaemonLog log(home.log() / "skiff.log");
  try {
    Daemon daemon(home, *config, log);
    log.info("Serving " + home.name().string());
    log.info("Ending: " + waitForEnd(signals, options.lifeline));
  } catch (const std::exception& error) {
    log.error(std::string("Cannot serve: ") + error.what());
    throw;
  }
  return 0;
}

}  // namespace
}  // namespace tessera

int main(int argc, char** argv) {
  std::optional<tessera::Options> options = tessera::parseOptions(argc, argv);
  if (!options) {
    std::fputs("usage: skiff [--lifeline DESCRIPTOR]\n", stderr);
    return tessera::kWrongUsage;
  }
  try {
    return tessera::serve(tessera::Home::fromEnvironment(), *options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "skiff: %s\n", error.what());
    return tessera::kCannotServe;
  }
}
