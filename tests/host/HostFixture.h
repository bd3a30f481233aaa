#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <kj/async-io.h>

#include "home/Home.h"
#include "host/Host.h"
#include "protocol/host.capnp.h"
#include "rpc/RpcConnection.h"

namespace tessera {

// A fresh folder, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();
  [[nodiscard]] const std::filesystem::path& path() const { return _path; }

 private:
  std::filesystem::path _path;
};

// The content of a small file; empty when it is not there.
[[nodiscard]] std::string contentOf(const std::filesystem::path& file);

// An event loop with a log in a fresh home.
struct LoopFixture {
  LoopFixture();

  TemporaryFolder folder;
  Home home;
  kj::AsyncIoContext io = kj::setupAsyncIo();
  HostLog log;
  HostLoop loop;
};

// A host with the fakes for its programs, and a client connected to its socket.
struct HostFixture : LoopFixture {
  explicit HostFixture(HostOptions options = fastOptions());

  // Short times, so that nothing is waited for longer than needed.
  [[nodiscard]] static HostOptions fastOptions();

  [[nodiscard]] wire::FileProviderHost::Client& service() { return client; }
  [[nodiscard]] std::unique_ptr<RpcConnection> connect();
  // What the record of `identifier` says: "DOMAIN CODE", or "found".
  [[nodiscard]] std::string itemOutcome(const std::string& identifier);
  // The same, for a call that has been sent.
  using ItemCall = capnp::RemotePromise<wire::FileProviderHost::ItemForIdentifierResults>;
  [[nodiscard]] ItemCall askForItem(const std::string& identifier);
  [[nodiscard]] std::string outcomeOf(ItemCall call);
  [[nodiscard]] capnp::Response<wire::FileProviderHost::StatusResults> status();
  // Turns the loop until `condition` holds, looking again after each change of the status.
  template <class Condition>
  void waitUntil(Condition condition) {
    while (!condition()) io.provider->getTimer().afterDelay(kj::MILLISECONDS).wait(io.waitScope);
  }

  Host host;
  std::unique_ptr<RpcConnection> connection;
  wire::FileProviderHost::Client client;
};

// "DOMAIN CODE", or "" when there is none.
[[nodiscard]] std::string nameOf(wire::Error::Reader error);
// NSLocalizedDescription.
[[nodiscard]] std::string descriptionOf(wire::Error::Reader error);

}  // namespace tessera
