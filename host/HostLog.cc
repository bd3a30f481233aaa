#include "host/HostLog.h"

#include <chrono>
#include <string>
#include <utility>

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessera {
namespace {

std::string lineOf(std::string_view text) {
  using std::chrono::floor;
  const auto now = floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const auto seconds = floor<std::chrono::seconds>(now);
  std::string line = fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z {} ",
                                 fmt::gmtime(std::chrono::system_clock::to_time_t(seconds)),
                                 (now - seconds).count(), ::getpid());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) {
      line += fmt::format("\\x{:02x}", byte);
    } else {
      line += c;
    }
  }
  line += '\n';
  return line;
}

}  // namespace

HostLog::HostLog(std::filesystem::path file, bool onTerminal, std::uint64_t limit)
    : _file(std::move(file)), _onTerminal(onTerminal), _limit(limit) {
  open();
}

HostLog::~HostLog() {
  if (_fd >= 0) ::close(_fd);
}

void HostLog::open() {
  _fd = ::open(_file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

void HostLog::rotateIfFull() {
  struct stat status {};
  if (_fd < 0 || ::fstat(_fd, &status) != 0) return;
  if (static_cast<std::uint64_t>(status.st_size) < _limit && status.st_nlink > 0) return;
  std::filesystem::path aside = _file;
  aside += ".1";
  if (status.st_nlink > 0) ::rename(_file.c_str(), aside.c_str());
  ::close(_fd);
  open();
}

void HostLog::write(std::string_view text) {
  const std::string line = lineOf(text);
  rotateIfFull();
  if (_fd < 0) open();
  [[maybe_unused]] ssize_t written = 0;
  if (_fd >= 0) written = ::write(_fd, line.data(), line.size());
  if (_onTerminal) written = ::write(STDERR_FILENO, line.data(), line.size());
}

}  // namespace tessera
