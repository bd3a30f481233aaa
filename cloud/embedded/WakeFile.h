#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <stop_token>

#include "cloud/embedded/FileDescriptor.h"

namespace tessera {

// A file of the cloud's folder whose only purpose is to be touched after each
// commit: whoever waits for changes, in whatever process, watches it with inotify.
//
// Threads: any.
class WakeFile {
 public:
  // Opens the file, made when it is missing. Throws CloudError.
  explicit WakeFile(std::filesystem::path file);

  // Wakes everybody. Never fails: a wake-up that is lost is made up for by the
  // waiters' own re-check.
  void touch() const noexcept;

  // Returns once `changed()` is true, `timeout` has passed or `stop` was requested.
  // Asks `changed` when it begins, after each touch, and every half minute for the
  // case that a process ended between its commit and its touch.
  void waitUntil(const std::function<bool()>& changed, std::chrono::milliseconds timeout,
                 const std::stop_token& stop) const;

 private:
  std::filesystem::path _file;
  FileDescriptor _descriptor;
};

}  // namespace tessera
