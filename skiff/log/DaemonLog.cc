#include "skiff/log/DaemonLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <string>

namespace tessera {

namespace {

std::string timeText() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  char text[40];
  std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text + length, sizeof text - length, ".%03ldZ", now.tv_nsec / 1'000'000);
  return text;
}

const char* levelText(DaemonLog::Level level) {
  switch (level) {
    case DaemonLog::Level::Info:
      return "info";
    case DaemonLog::Level::Warning:
      return "warning";
    case DaemonLog::Level::Error:
      return "error";
  }
  return "";
}

void appendEscaped(std::string& line, std::string_view message) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (char letter : message) {
    auto byte = static_cast<unsigned char>(letter);
    if (byte >= 0x20 && byte != 0x7f) {
      line.push_back(letter);
    } else {
      line += "\\x";
      line.push_back(kDigits[byte >> 4]);
      line.push_back(kDigits[byte & 15]);
    }
  }
}

}  // namespace

DaemonLog::DaemonLog(std::filesystem::path file, std::uint64_t rotateAt)
    : _file(std::move(file)), _rotateAt(rotateAt) {
  open();
}

DaemonLog::~DaemonLog() {
  if (_fd >= 0) ::close(_fd);
}

void DaemonLog::write(Level level, std::string_view message) {
  std::string line =
      timeText() + " [" + std::to_string(::getpid()) + "] " + levelText(level) + ": ";
  appendEscaped(line, message);
  line.push_back('\n');
  std::lock_guard lock(_lock);
  if (_size + line.size() > _rotateAt && _size > 0) rotate();
  if (_fd < 0) return;
  ssize_t written = ::write(_fd, line.data(), line.size());
  if (written > 0) _size += static_cast<std::uint64_t>(written);
}

void DaemonLog::open() {
  _fd = ::open(_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  struct stat status {};
  _size = _fd >= 0 && ::fstat(_fd, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

void DaemonLog::rotate() {
  if (_fd >= 0) ::close(_fd);
  std::filesystem::path old = _file;
  old += ".1";
  ::rename(_file.c_str(), old.c_str());
  open();
}

}  // namespace tessera
