#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <thread>

namespace tessera {

// Tells when files of the home's state folder were replaced or withdrawn.
//
// Owns one thread, which sleeps in poll(2); handlers run on it, and several changes that
// come together may be told as one. When the kernel lost count, all handlers are called.
// Destruction ends and joins the thread, so it must not happen in a handler.
class StateFolderObserver {
 public:
  // By file name.
  using Handlers = std::map<std::string, std::function<void()>>;

  // Changes are seen from the moment in which this returns. Throws std::system_error when
  // the folder cannot be watched.
  StateFolderObserver(const std::filesystem::path& folder, Handlers handlers);
  StateFolderObserver(const StateFolderObserver&) = delete;
  StateFolderObserver& operator=(const StateFolderObserver&) = delete;
  ~StateFolderObserver();

 private:
  class Descriptor {
   public:
    Descriptor(int fd, const char* what);
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();
    [[nodiscard]] int get() const noexcept { return _fd; }

   private:
    const int _fd;
  };

  void run();
  void tellAboutWaitingEvents();

  const Handlers _handlers;
  const Descriptor _changes;  // inotify
  const Descriptor _end;      // an event counter that says: end
  std::thread _thread;        // last, since it uses the others
};

}  // namespace tessera
