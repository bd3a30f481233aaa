#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <kj/async.h>
#include <kj/io.h>
#include <sys/types.h>

#include "Probe.capnp.h"

namespace tessera {

// The library's interfaces have no virtual destructor; they own their objects by the
// objects' own type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// The object that the tests' servers export. Threads: its loop's.
class ProbeServer final : public probe::Probe::Server {
 public:
  // What "leave" does.
  std::function<void()> onLeave;

  // Gives the late answers that are waited for.
  void answerLate();

 protected:
  kj::Promise<void> ping(PingContext context) override;
  kj::Promise<void> hang(HangContext context) override;
  kj::Promise<void> add(AddContext context) override;
  kj::Promise<void> fail(FailContext context) override;
  kj::Promise<void> bytes(BytesContext context) override;
  kj::Promise<void> counts(CountsContext context) override;
  kj::Promise<void> pushTo(PushToContext context) override;
  kj::Promise<void> open(OpenContext context) override;
  kj::Promise<void> leave(LeaveContext context) override;

 private:
  struct Counts : kj::Refcounted {
    std::uint32_t pings = 0;
    std::uint32_t hangs = 0;
    std::uint32_t cancellations = 0;
  };

  kj::Own<Counts> _counts = kj::refcounted<Counts>();
  std::vector<kj::Own<kj::PromiseFulfiller<void>>> _late;
};

// Receives what a server pushes.
class CountingReceiver final : public probe::Receiver::Server {
 public:
  explicit CountingReceiver(std::function<void(std::uint32_t)> onPush)
      : _onPush(std::move(onPush)) {}

 protected:
  kj::Promise<void> push(PushContext context) override;

 private:
  const std::function<void(std::uint32_t)> _onPush;
};

#pragma GCC diagnostic pop

struct SocketPair {
  SocketPair();
  kj::AutoCloseFd near;
  kj::AutoCloseFd far;
};

// A process that serves a ProbeServer over a socket pair, without any thread; it ends with
// the connection, or killed by the destructor. Made before the test's first thread.
class ServerProcess {
 public:
  ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;
  ~ServerProcess();

  [[nodiscard]] kj::AutoCloseFd takeSocket() { return kj::mv(_socket); }
  void signal(int number) const;
  // Kills it and waits until it is gone.
  void killNow();

 private:
  kj::AutoCloseFd _socket;
  pid_t _pid = 0;
};

}  // namespace tessera
