#include "host/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tessera {
namespace {

constexpr int kInherited = 3;

void check(int failure, const char* what) {
  if (failure != 0) throw std::system_error(failure, std::generic_category(), what);
}

// posix_spawn's description of what happens between the fork and the new program.
class SpawnPlan {
 public:
  SpawnPlan() {
    check(::posix_spawn_file_actions_init(&_actions), "posix_spawn_file_actions_init");
    check(::posix_spawnattr_init(&_attributes), "posix_spawnattr_init");
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;
  ~SpawnPlan() {
    ::posix_spawn_file_actions_destroy(&_actions);
    ::posix_spawnattr_destroy(&_attributes);
  }

  void giveDescriptors(int output, int inherited) {
    check(::posix_spawn_file_actions_addopen(&_actions, 0, "/dev/null", O_RDONLY, 0), "open");
    check(::posix_spawn_file_actions_adddup2(&_actions, output, 1), "dup2");
    check(::posix_spawn_file_actions_adddup2(&_actions, output, 2), "dup2");
    int first = kInherited;
    if (inherited >= 0) {
      check(::posix_spawn_file_actions_adddup2(&_actions, inherited, kInherited), "dup2");
      ++first;
    }
    check(::posix_spawn_file_actions_addclosefrom_np(&_actions, first), "closefrom");
  }

  void resetSignals() {
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::sigdelset(&all, SIGKILL);
    ::sigdelset(&all, SIGSTOP);
    check(::posix_spawnattr_setsigmask(&_attributes, &none), "setsigmask");
    check(::posix_spawnattr_setsigdefault(&_attributes, &all), "setsigdefault");
    check(::posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF),
          "setflags");
  }

  pid_t run(const std::string& program, char* const* arguments, char* const* environment) {
    pid_t pid = 0;
    check(::posix_spawn(&pid, program.c_str(), &_actions, &_attributes, arguments, environment),
          program.c_str());
    return pid;
  }

 private:
  posix_spawn_file_actions_t _actions{};
  posix_spawnattr_t _attributes{};
};

std::string_view nameOf(std::string_view entry) {
  return entry.substr(0, entry.find('='));
}

std::vector<std::string> environmentWith(const std::vector<std::string>& more) {
  std::vector<std::string> environment = more;
  for (char** entry = ::environ; *entry != nullptr; ++entry) {
    bool replaced = false;
    for (const auto& added : more) replaced = replaced || nameOf(added) == nameOf(*entry);
    if (!replaced) environment.emplace_back(*entry);
  }
  return environment;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

std::string ChildEnd::describe() const {
  if (exited) return fmt::format("exit status {}", number);
  return fmt::format("signal {} ({})", number, ::strsignal(number));
}

ChildProcess::Spawned ChildProcess::spawn(const ChildCommand& command) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  kj::AutoCloseFd readEnd(ends[0]);
  const kj::AutoCloseFd writeEnd(ends[1]);

  // The descriptors must not be overwritten before they are used: all above the ones given.
  const kj::AutoCloseFd output(::fcntl(writeEnd.get(), F_DUPFD_CLOEXEC, kInherited + 1));
  kj::AutoCloseFd inherited;
  if (command.inherited >= 0) {
    inherited = kj::AutoCloseFd(::fcntl(command.inherited, F_DUPFD_CLOEXEC, kInherited + 1));
  }
  SpawnPlan plan;
  plan.giveDescriptors(output.get(), inherited == nullptr ? -1 : inherited.get());
  plan.resetSignals();

  std::vector<std::string> arguments = {command.program.string()};
  arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> environment = environmentWith(command.environment);
  const pid_t pid = plan.run(command.program.string(), pointersTo(arguments).data(),
                             pointersTo(environment).data());
  return {pid, kj::mv(readEnd)};
}

ChildProcess::ChildProcess(kj::UnixEventPort& port, const ChildCommand& command,
                           ChildOutput::LineHandler onLine)
    : _spawned(spawn(command)),
      _watch(port, _spawned.pid),
      _output(port, kj::mv(_spawned.output), std::move(onLine)),
      _ended(_watch.whenEnded().then([this] { collect(); }).fork()) {}

ChildProcess::~ChildProcess() {
  if (_end) return;
  _watch.signal(SIGKILL);
  collect();
}

void ChildProcess::signal(int number) const {
  if (!_end) _watch.signal(number);
}

// Waits for it, and reads its last words. It has ended, or is about to.
void ChildProcess::collect() {
  if (_end) return;
  int status = 0;
  while (::waitpid(_spawned.pid, &status, 0) < 0 && errno == EINTR) {
  }
  _end =
      WIFEXITED(status) ? ChildEnd{true, WEXITSTATUS(status)} : ChildEnd{false, WTERMSIG(status)};
  _output.finish();
}

kj::Promise<void> ChildProcess::endWithin(kj::Timer& timer, kj::Duration patience) {
  auto killed = timer.afterDelay(patience).then([this] {
    signal(SIGKILL);
    return whenEnded();
  });
  return whenEnded().exclusiveJoin(kj::mv(killed));
}

}  // namespace tessera
