// A daemon that lives until its lifeline is cut or SIGTERM comes. What it does otherwise is
// in its environment: FAKE_SKIFF_STATUS (ends at once with it, FAKE_SKIFF_MESSAGE on standard
// error), FAKE_SKIFF_DEAF (ignores SIGTERM), FAKE_SKIFF_LIVES_FILE (a byte is added to it
// with every start).
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>

#include <fcntl.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc != 3 || std::string(argv[1]) != "--lifeline") return 2;
  if (const char* file = std::getenv("FAKE_SKIFF_LIVES_FILE")) {
    const int fd = ::open(file, O_WRONLY | O_APPEND | O_CREAT, 0600);
    if (fd < 0 || ::write(fd, "x", 1) != 1) return 2;
    ::close(fd);
  }
  if (const char* status = std::getenv("FAKE_SKIFF_STATUS")) {
    if (const char* message = std::getenv("FAKE_SKIFF_MESSAGE")) std::cerr << message << "\n";
    return std::atoi(status);
  }
  if (std::getenv("FAKE_SKIFF_DEAF") != nullptr) std::signal(SIGTERM, SIG_IGN);
  char byte = 0;
  while (::read(std::atoi(argv[2]), &byte, 1) < 0 && errno == EINTR) {
  }
  return 0;
}
