#include "host/ChildOutput.h"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace tessera {

ChildOutput::ChildOutput(kj::UnixEventPort& port, kj::AutoCloseFd pipe, LineHandler onLine)
    : _pipe(kj::mv(pipe)),
      _onLine(std::move(onLine)),
      _observer(port, _pipe.get(), kj::UnixEventPort::FdObserver::OBSERVE_READ) {
  ::fcntl(_pipe.get(), F_SETFL, ::fcntl(_pipe.get(), F_GETFL) | O_NONBLOCK);
  _reading = readAll().eagerlyEvaluate([](kj::Exception&&) {});
}

// False at the end of the output.
bool ChildOutput::readAvailable() {
  std::array<char, 4096> block{};
  for (;;) {
    const ssize_t count = ::read(_pipe.get(), block.data(), block.size());
    if (count > 0) {
      take({block.data(), static_cast<std::size_t>(count)});
    } else if (count == 0) {
      return false;
    } else if (errno != EINTR) {
      return errno == EAGAIN;
    }
  }
}

void ChildOutput::take(std::string_view bytes) {
  for (const char c : bytes) {
    if (c != '\n') _line += c;
    if (c == '\n' || _line.size() >= kLongestLine) endLine();
  }
}

void ChildOutput::endLine() {
  if (_line.empty()) return;
  _lastLine = std::exchange(_line, {});
  _onLine(_lastLine);
}

kj::Promise<void> ChildOutput::readAll() {
  return _observer.whenBecomesReadable().then([this]() -> kj::Promise<void> {
    if (!readAvailable()) return kj::READY_NOW;
    return readAll();
  });
}

void ChildOutput::finish() {
  _reading = nullptr;
  readAvailable();
  endLine();
}

}  // namespace tessera
