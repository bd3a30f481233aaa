#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "cli/Command.h"
#include "home/InstanceLock.h"

namespace tessera {
namespace {

constexpr int kGraceMilliseconds = 15'000;

// Watches one process, which is not our child, through a descriptor of it.
class WatchedProcess {
 public:
  explicit WatchedProcess(pid_t pid) : _fd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {}
  WatchedProcess(const WatchedProcess&) = delete;
  WatchedProcess& operator=(const WatchedProcess&) = delete;
  ~WatchedProcess() {
    if (_fd >= 0) ::close(_fd);
  }

  bool waitForEnd(int milliseconds) const {
    if (_fd < 0) return true;
    pollfd waiting{_fd, POLLIN, 0};
    return ::poll(&waiting, 1, milliseconds) == 1;
  }
  void signal(int number) const { ::syscall(SYS_pidfd_send_signal, _fd, number, nullptr, 0); }

 private:
  int _fd;
};

void askToEnd(CommandContext& context) {
  try {
    if (!context.session().hostAnswers()) return;
    context.session().wait(context.session().host().shutdownRequest().send().ignoreResult());
  } catch (const CliError& error) {
    if (error.status() == kStatusInterrupted) throw;
    // It may be gone before the answer is; what counts is that the process ends.
  }
}

void down(CommandContext& context) {
  const auto holder = InstanceLock::holder(context.home.hostLock());
  const bool ran = holder.has_value() && *holder > 0;
  if (ran) {
    const WatchedProcess process(*holder);
    askToEnd(context);
    if (!process.waitForEnd(kGraceMilliseconds)) process.signal(SIGTERM);
    if (!process.waitForEnd(kGraceMilliseconds)) process.signal(SIGKILL);
    process.waitForEnd(kGraceMilliseconds);
  }
  if (context.json) {
    printJson({{"stopped", ran}});
  } else {
    printLine(ran ? "The instance has ended." : "The instance was not running.");
  }
}

}  // namespace

void addDownCommand(CLI::App& app, CommandContext& context) {
  auto* command = app.add_subcommand("down", "End the instance; harmless when it does not run");
  addJsonFlag(*command, context);
  command->callback([&context] { down(context); });
}

}  // namespace tessera
