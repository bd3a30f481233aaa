#include "cli/Daemonize.h"

#include <cerrno>
#include <chrono>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/CliError.h"

namespace tessera {
namespace {

using Clock = std::chrono::steady_clock;

// Between fork and exec: only what is allowed there.
[[noreturn]] void becomeDaemon(const char* program, const char* log, const char* readyFd,
                               int readyEnd) {
  ::setsid();
  if (::fork() != 0) ::_exit(0);  // not a session leader: no terminal can become its own
  const int nothing = ::open("/dev/null", O_RDONLY);
  const int output = ::open(log, O_WRONLY | O_CREAT | O_APPEND, 0600);
  if (nothing >= 0) ::dup2(nothing, STDIN_FILENO);
  if (output >= 0) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
  }
  if (::chdir("/") != 0) ::_exit(126);
  ::fcntl(readyEnd, F_SETFD, 0);
  ::execl(program, program, "--ready-fd", readyFd, static_cast<char*>(nullptr));
  const char* reason = "cannot be executed";
  if (::write(readyEnd, reason, std::strlen(reason)) < 0) ::_exit(126);
  ::_exit(127);
}

// What the daemon wrote, up to the end; empty when it ended without a word.
std::string readNotice(int fd, Clock::time_point deadline, const std::string& program) {
  std::string notice;
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd waiting{fd, POLLIN, 0};
    if (left <= 0 || ::poll(&waiting, 1, static_cast<int>(left)) == 0) {
      throw CliError(program + " does not get ready; its log says why.");
    }
    char buffer[4096];
    const ssize_t count = ::read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return notice;
    notice.append(buffer, static_cast<std::size_t>(count));
    if (notice == "R") return notice;
  }
}

}  // namespace

void startDaemon(const std::filesystem::path& program, const std::filesystem::path& log,
                 int seconds) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) throw CliError(std::string("pipe: ") + std::strerror(errno));
  const std::string readyFd = std::to_string(ends[1]);
  const pid_t child = ::fork();
  if (child < 0) throw CliError(std::string("fork: ") + std::strerror(errno));
  if (child == 0) becomeDaemon(program.c_str(), log.c_str(), readyFd.c_str(), ends[1]);
  ::close(ends[1]);
  ::waitpid(child, nullptr, 0);
  std::string notice;
  try {
    notice = readNotice(ends[0], Clock::now() + std::chrono::seconds(seconds),
                        program.filename().string());
  } catch (...) {
    ::close(ends[0]);
    throw;
  }
  ::close(ends[0]);
  if (notice == "R") return;
  if (notice.empty()) notice = "it ended at once; " + log.string() + " may say why";
  throw CliError("Cannot start " + program.filename().string() + ": " + notice);
}

}  // namespace tessera
