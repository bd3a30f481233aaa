#include "cli/Command.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cli/CliError.h"

namespace tessera {
namespace {

constexpr int kReaderGone = 128 + 13;  // as if SIGPIPE, which the loop has to ignore, had ended us

[[noreturn]] void outputFailed() {
  const int reason = errno;
  // Nothing is left to be said, and nobody to hear it; destructors have nothing to save.
  if (reason == EPIPE) std::_Exit(kReaderGone);
  throw CliError(std::string("Standard output cannot be written: ") + std::strerror(reason) + ".");
}

}  // namespace

void printLine(const std::string& line) {
  const bool written = std::fwrite(line.data(), 1, line.size(), stdout) == line.size() &&
                       std::fputc('\n', stdout) != EOF;
  if (!written) outputFailed();
}

void finishOutput() {
  if (std::fflush(stdout) != 0) outputFailed();
}

}  // namespace tessera
