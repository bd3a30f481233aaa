#include "cli/Progress.h"

#include <cstdio>

#include <unistd.h>

namespace tessera {

Progress::Progress() : _onTerminal(::isatty(STDERR_FILENO) == 1) {}

void Progress::show(const std::string& text) {
  if (!_onTerminal) return;
  const auto now = std::chrono::steady_clock::now();
  if (_shown && now - _last < std::chrono::milliseconds(100)) return;
  _last = now;
  _shown = true;
  std::fprintf(stderr, "\r\033[K%s", text.c_str());
  std::fflush(stderr);
}

void Progress::clear() {
  if (!_shown) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  _shown = false;
}

}  // namespace tessera
