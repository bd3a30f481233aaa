// The record of an item by its identifier, asked of the extension as the host asks it,
// against an empty call on the same socket. The benchmark is the host: it starts an
// extension process of its own.

#include <capnp/rpc-twoparty.h>
#include <fcntl.h>
#include <kj/async-io.h>
#include <kj/io.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "BenchInstance.h"
#include "home/Home.h"
#include "protocol/extension.capnp.h"

namespace tessera {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5000;

// Takes the signals that the extension sends and does nothing with them.
class SilentHost final : public wire::ExtensionHost::Server {
  kj::Promise<void> signalEnumerator(SignalEnumeratorContext) override { return kj::READY_NOW; }
};

int startExtension(pid_t& child) {
  int sockets[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) std::exit(1);
  const std::string program = BenchInstance::programs() / "tessera-fileprovider";
  child = ::fork();
  if (child == 0) {
    ::dup2(sockets[1], 3);
    ::setenv("TESSERA_EXTENSION_SOCKET", "3", 1);
    ::execl(program.c_str(), program.c_str(), nullptr);
    ::_exit(127);
  }
  ::close(sockets[1]);
  return sockets[0];
}

template <class Call>
double timed(Call&& call) {
  const auto start = Clock::now();
  call();
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

int run() {
  BenchInstance instance;
  fillCloud(instance.cloud(), "bench", 1000);
  instance.tessera({"up"});
  instance.tessera({"login", "bench"});
  instance.tessera({"status", "--wait"});

  pid_t child = 0;
  const int socket = startExtension(child);
  {
    auto io = kj::setupAsyncIo();
    auto stream = io.lowLevelProvider->wrapUnixSocketFd(kj::AutoCloseFd(socket));
    capnp::TwoPartyVatNetwork network(*stream, 2, capnp::rpc::twoparty::Side::SERVER);
    auto rpc = capnp::makeRpcServer(network, kj::heap<SilentHost>());
    capnp::MallocMessageBuilder message;
    auto peer = message.initRoot<capnp::rpc::twoparty::VatId>();
    peer.setSide(capnp::rpc::twoparty::Side::CLIENT);
    auto extension = rpc.bootstrap(peer).castAs<wire::FileProviderExtension>();

    const auto ping = [&extension, &io] { extension.pingRequest().send().wait(io.waitScope); };
    int item = 0;
    const auto record = [&extension, &io, &item] {
      char identifier[40];
      std::snprintf(identifier, sizeof identifier, "00000000-0000-4000-8000-%012x", item++ % 1000);
      auto request = extension.itemForIdentifierRequest();
      request.setIdentifier(identifier);
      if (!request.send().wait(io.waitScope).getFound()) std::exit(1);
    };
    for (int i = 0; i < 200; ++i) {
      ping();
      record();
    }
    std::vector<double> pings;
    std::vector<double> records;
    for (int i = 0; i < kRounds; ++i) {
      pings.push_back(timed(ping));
      records.push_back(timed(record));
    }
    const Percentiles empty = percentiles(pings);
    const Percentiles full = percentiles(records);
    printRatio("record of an item by identifier, p50", full.p50, "empty call host to extension",
               empty.p50, "us", 4);
    std::printf("p99: record %.1f us, empty call %.1f us\n", full.p99, empty.p99);
  }
  ::waitpid(child, nullptr, 0);
  return 0;
}

}  // namespace
}  // namespace tessera

int main() {
  return tessera::run();
}
