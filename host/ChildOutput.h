#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <kj/async-unix.h>
#include <kj/io.h>

namespace tessera {

// Reads what a child writes to its standard error, line by line. The last line is kept: a
// program that cannot go on says why in it.
//
// Threads: the loop's.
class ChildOutput {
 public:
  static constexpr std::size_t kLongestLine = 4096;  // bytes; longer ones come in pieces
  using LineHandler = std::function<void(const std::string&)>;

  // Takes over the pipe's reading end. A null descriptor: nothing is read.
  ChildOutput(kj::UnixEventPort& port, kj::AutoCloseFd pipe, LineHandler onLine);
  ChildOutput(const ChildOutput&) = delete;
  ChildOutput& operator=(const ChildOutput&) = delete;

  // Reads what is there without waiting for more, and stops. To be called when the child
  // has ended: a process that the child left behind may hold the pipe open for ever.
  void finish();
  [[nodiscard]] const std::string& lastLine() const { return _lastLine; }

 private:
  bool readAvailable();
  void take(std::string_view bytes);
  void endLine();
  kj::Promise<void> readAll();

  const kj::AutoCloseFd _pipe;
  const LineHandler _onLine;
  std::string _line;
  std::string _lastLine;
  kj::UnixEventPort::FdObserver _observer;
  kj::Promise<void> _reading = nullptr;
};

}  // namespace tessera
