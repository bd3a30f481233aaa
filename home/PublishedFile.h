#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

namespace tessera {

// Replaces the file's content in one step, durably: readers see all of the old or all of
// the new. Throws HomeError.
void publishFile(const std::filesystem::path& file, const std::string& content);
// Takes the file away, durably; nothing happens when there is none. Throws HomeError.
void withdrawFile(const std::filesystem::path& file);

// A small file that another process publishes, read again only when it was replaced.
//
// This is how the daemon tells everyone who is signed in and which containers there are:
// asking costs one stat(2) instead of a request, holds while the daemon is down, and is
// true from the moment in which publishFile returns.
//
// Threads: any.
class PublishedFile {
 public:
  explicit PublishedFile(std::filesystem::path file) : _file(std::move(file)) {}

  // The file's content; nullopt when there is no file. Throws HomeError when it is there
  // and cannot be read.
  [[nodiscard]] std::optional<std::string> read();

  // Grows with every change that read() has seen; lets a caller keep what it parsed.
  [[nodiscard]] std::uint64_t generation();

 private:
  // What tells one version of the file from the next: a replaced file has another inode or,
  // if the number is used again, another change time.
  struct Stamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;
    std::uint64_t size = 0;

    bool operator==(const Stamp&) const = default;
  };

  std::mutex _lock;
  const std::filesystem::path _file;
  std::optional<Stamp> _stamp;          // guarded by _lock; of _content
  std::optional<std::string> _content;  // guarded by _lock
  std::uint64_t _generation = 0;        // guarded by _lock
};

}  // namespace tessera
