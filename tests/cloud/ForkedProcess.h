#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace tessera {

// A pipe from a child to its parent that carries single bytes.
class BytePipe {
 public:
  BytePipe() {
    if (::pipe(_ends) != 0) throw std::runtime_error("pipe");
  }
  ~BytePipe() {
    ::close(_ends[0]);
    if (_ends[1] >= 0) ::close(_ends[1]);
  }
  BytePipe(const BytePipe&) = delete;
  BytePipe& operator=(const BytePipe&) = delete;

  void send() const {
    if (::write(_ends[1], "x", 1) != 1) throw std::runtime_error("write to the pipe");
  }
  // Waits for a byte; false once all writers are gone.
  [[nodiscard]] bool receive() const {
    char byte = 0;
    return ::read(_ends[0], &byte, 1) == 1;
  }
  // Ends this process's own way of sending, so that receive() can see the end.
  void closeSending() {
    ::close(_ends[1]);
    _ends[1] = -1;
  }

 private:
  int _ends[2] = {-1, -1};
};

// A child of this process that runs `body` and ends, with status 0 unless it threw.
// Fork before this process opens a cloud: connections do not survive one.
class ForkedProcess {
 public:
  template <typename Body>
  explicit ForkedProcess(Body&& body) : _pid(::fork()) {
    if (_pid < 0) throw std::runtime_error("fork");
    if (_pid == 0) ::_exit(statusOf(std::forward<Body>(body)));
  }
  ~ForkedProcess() {
    if (_pid > 0) kill();
  }
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  // Returns the exit status, -1 when it was ended by a signal.
  int wait() {
    int status = 0;
    ::waitpid(std::exchange(_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  void kill() {
    ::kill(_pid, SIGKILL);
    wait();
  }

 private:
  template <typename Body>
  static int statusOf(Body&& body) {
    try {
      std::forward<Body>(body)();
      return 0;
    } catch (const std::exception& error) {
      std::fprintf(stderr, "child: %s\n", error.what());
      return 1;
    }
  }

  pid_t _pid;
};

}  // namespace tessera
