#include "skiff/importer/SourceFacts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <limits>
#include <system_error>

namespace tessera {

namespace {

std::int64_t nanoseconds(const struct statx_timestamp& time) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  std::int64_t whole = 0;
  std::int64_t result = 0;
  if (__builtin_mul_overflow(static_cast<std::int64_t>(time.tv_sec), kSecond, &whole) ||
      __builtin_add_overflow(whole, static_cast<std::int64_t>(time.tv_nsec), &result)) {
    return time.tv_sec < 0 ? std::numeric_limits<std::int64_t>::min()
                           : std::numeric_limits<std::int64_t>::max();
  }
  return result;
}

}  // namespace

std::optional<FileIdentity> FileIdentity::of(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino};
}

bool SourceFacts::isRegularFile() const {
  return S_ISREG(mode);
}

bool SourceFacts::isExecutable() const {
  return (mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

SourceFacts SourceFacts::of(int descriptor) {
  struct statx status {};
  if (::statx(descriptor, "", AT_EMPTY_PATH, STATX_BASIC_STATS | STATX_BTIME, &status) != 0) {
    throw std::system_error(errno, std::generic_category());
  }
  SourceFacts facts;
  facts.identity = {makedev(status.stx_dev_major, status.stx_dev_minor), status.stx_ino};
  facts.mode = status.stx_mode;
  facts.size = status.stx_size;
  facts.modifiedAt = nanoseconds(status.stx_mtime);
  bool hasBirthTime = (status.stx_mask & STATX_BTIME) != 0;
  facts.createdAt = hasBirthTime ? nanoseconds(status.stx_btime) : facts.modifiedAt;
  return facts;
}

}  // namespace tessera
