#pragma once

#include <chrono>
#include <string>

namespace tessera {

// One line on the terminal that is written over again and again. Silent when standard error
// is no terminal. Threads: one.
class Progress {
 public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  // At most ten times a second.
  void show(const std::string& text);
  void clear();

 private:
  const bool _onTerminal;
  bool _shown = false;
  std::chrono::steady_clock::time_point _last;
};

}  // namespace tessera
