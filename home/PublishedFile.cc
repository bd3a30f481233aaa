#include "home/PublishedFile.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "home/Home.h"

namespace tessera {
namespace {

[[noreturn]] void fail(const std::string& what, const std::filesystem::path& file, int reason) {
  throw HomeError("Cannot " + what + " " + file.string() + ": " + std::strerror(reason) + ".");
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : _fd(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_fd >= 0) ::close(_fd);
  }
  [[nodiscard]] int get() const noexcept { return _fd; }

 private:
  int _fd;
};

void syncFolderOf(const std::filesystem::path& file) {
  const Descriptor folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.get() < 0 || ::fsync(folder.get()) != 0) fail("sync the folder of", file, errno);
}

void writeAll(int fd, const std::string& content, const std::filesystem::path& file) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t count = ::write(fd, content.data() + done, content.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("write", file, errno);
    done += static_cast<std::size_t>(count);
  }
}

std::string readAll(int fd, const std::filesystem::path& file) {
  std::string content;
  char buffer[16384];
  for (;;) {
    const ssize_t count = ::read(fd, buffer, sizeof buffer);
    if (count == 0) return content;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail("read", file, errno);
    content.append(buffer, static_cast<std::size_t>(count));
  }
}

}  // namespace

void publishFile(const std::filesystem::path& file, const std::string& content) {
  std::string temporary = file.string() + ".XXXXXX";
  const Descriptor output(::mkostemp(temporary.data(), O_CLOEXEC));
  if (output.get() < 0) fail("write", file, errno);
  try {
    writeAll(output.get(), content, file);
    if (::fsync(output.get()) != 0) fail("write", file, errno);
    if (::rename(temporary.c_str(), file.c_str()) != 0) fail("replace", file, errno);
  } catch (...) {
    ::unlink(temporary.c_str());
    throw;
  }
  syncFolderOf(file);
}

void withdrawFile(const std::filesystem::path& file) {
  if (::unlink(file.c_str()) != 0) {
    if (errno == ENOENT) return;
    fail("remove", file, errno);
  }
  syncFolderOf(file);
}

std::optional<std::string> PublishedFile::read() {
  std::lock_guard held(_lock);
  struct stat status {};
  if (::stat(_file.c_str(), &status) != 0) {
    if (errno != ENOENT && errno != ENOTDIR) fail("read", _file, errno);
    if (_content) ++_generation;
    _stamp.reset();
    _content.reset();
    return std::nullopt;
  }
  const auto stampOf = [](const struct stat& s) {
    return Stamp{s.st_dev, s.st_ino, s.st_ctim.tv_sec, s.st_ctim.tv_nsec,
                 static_cast<std::uint64_t>(s.st_size)};
  };
  if (_stamp == stampOf(status)) return _content;
  const Descriptor input(::open(_file.c_str(), O_RDONLY | O_CLOEXEC));
  // It may have been withdrawn, or replaced again, since the stat: what was opened counts.
  if (input.get() < 0) {
    if (errno != ENOENT) fail("read", _file, errno);
    if (_content) ++_generation;
    _stamp.reset();
    _content.reset();
    return std::nullopt;
  }
  if (::fstat(input.get(), &status) != 0) fail("read", _file, errno);
  _content = readAll(input.get(), _file);
  _stamp = stampOf(status);
  ++_generation;
  return _content;
}

std::uint64_t PublishedFile::generation() {
  std::lock_guard held(_lock);
  return _generation;
}

}  // namespace tessera
