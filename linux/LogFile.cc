#include "linux/LogFile.h"

#include <chrono>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "linux/LogRecord.h"

namespace tessera {

class LogFile::Descriptor {
 public:
  explicit Descriptor(const std::filesystem::path& file)
      : _fd(::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_fd >= 0) ::close(_fd);
  }

  [[nodiscard]] bool isOpen() const { return _fd >= 0; }
  [[nodiscard]] struct stat status() const {
    struct stat status {};
    ::fstat(_fd, &status);
    return status;
  }
  // Whether it is full, or nobody will find it any more.
  [[nodiscard]] bool isSpent(std::uint64_t limit) const {
    const struct stat now = status();
    return now.st_nlink == 0 || static_cast<std::uint64_t>(now.st_size) >= limit;
  }
  void write(std::string_view line) const {
    [[maybe_unused]] const ssize_t count = ::write(_fd, line.data(), line.size());
  }

 private:
  const int _fd;
};

LogFile::LogFile(std::filesystem::path file, std::uint64_t limit)
    : _file(std::move(file)), _limit(limit) {}

LogFile::~LogFile() = default;

void LogFile::write(std::string_view subsystem, LogType type, std::string_view line) {
  using std::chrono::microseconds;
  const auto now = std::chrono::system_clock::now();
  const LogRecord record{std::chrono::time_point_cast<microseconds>(now),
                         ::getpid(),
                         ::gettid(),
                         type,
                         subsystem,
                         line};
  const std::string text = record.line();
  if (const auto descriptor = usable()) descriptor->write(text);
}

std::shared_ptr<const LogFile::Descriptor> LogFile::usable() {
  std::shared_ptr<const Descriptor> current;
  {
    std::lock_guard held(_lock);
    current = _current;
  }
  if (current && !current->isSpent(_limit)) return current;
  return next(current);
}

// `full` is what the caller found wanting; somebody else may have changed it meanwhile.
std::shared_ptr<const LogFile::Descriptor> LogFile::next(
    const std::shared_ptr<const Descriptor>& full) {
  std::lock_guard changing(_changing);
  {
    std::lock_guard held(_lock);
    if (_current != full) return _current;
  }
  if (full) moveAside(*full);
  auto opened = std::make_shared<const Descriptor>(_file);
  // One that was there already may be full too.
  if (opened->isOpen() && opened->isSpent(_limit)) {
    moveAside(*opened);
    opened = std::make_shared<const Descriptor>(_file);
  }
  if (!opened->isOpen()) opened = nullptr;
  std::lock_guard held(_lock);
  _current = opened;
  return opened;
}

// Only if it is still the file that the name stands for: another process may have moved it.
void LogFile::moveAside(const Descriptor& full) const {
  const struct stat mine = full.status();
  struct stat named {};
  if (::lstat(_file.c_str(), &named) != 0) return;
  if (named.st_dev != mine.st_dev || named.st_ino != mine.st_ino) return;
  std::filesystem::path aside = _file;
  aside += ".1";
  ::rename(_file.c_str(), aside.c_str());
}

}  // namespace tessera
