#pragma once

#include <csignal>
#include <filesystem>
#include <memory>
#include <utility>

#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <kj/debug.h>

#include "cli/CliError.h"
#include "home/Home.h"
#include "protocol/host.capnp.h"
#include "protocol/skiff.capnp.h"

namespace tessera {

class ServiceLink;

// A command's connections to the running instance, made when they are first used. Waiting
// for an answer ends with an error when the service goes away or stops answering, and with
// status 130 on Ctrl-C.
//
// Threads: one; it owns the loop. One Session a process.
class Session {
 public:
  explicit Session(const Home& home);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() noexcept(false);

  [[nodiscard]] const Home& home() const noexcept { return _home; }

  // Throw CliError when the instance, or its daemon, does not run.
  [[nodiscard]] wire::FileProviderHost::Client host();
  [[nodiscard]] wire::Skiff::Client skiff();
  [[nodiscard]] wire::Admin::Client admin();
  // Returns once the daemon answers; throws CliError when it does not for some seconds.
  void confirmDaemonAnswers();
  // Connect again, and say whether somebody answers.
  [[nodiscard]] bool hostAnswers();
  [[nodiscard]] bool skiffAnswers();

  template <class T>
  T wait(kj::Promise<T> promise) {
    try {
      return promise.exclusiveJoin(interrupted<T>()).wait(_io.waitScope);
    } catch (const kj::Exception& failure) {
      explain(failure);
    }
  }

  // Lets other promises go on for a while.
  void pause(kj::Duration duration);

 private:
  template <class T>
  kj::Promise<T> interrupted() {
    return _io.unixEventPort.onSignal(SIGINT).then([this](siginfo_t&&) -> kj::Promise<T> {
      _interrupted = true;
      return KJ_EXCEPTION(FAILED, "interrupted");
    });
  }
  [[noreturn]] void explain(const kj::Exception& failure) const;
  [[nodiscard]] CliError notRunning() const;
  template <class Interface>
  [[nodiscard]] bool answers(std::unique_ptr<ServiceLink>& link,
                             const std::filesystem::path& socket);

  const Home _home;
  kj::AsyncIoContext _io;
  bool _interrupted = false;
  std::unique_ptr<ServiceLink> _host;
  std::unique_ptr<ServiceLink> _skiff;
};

}  // namespace tessera
