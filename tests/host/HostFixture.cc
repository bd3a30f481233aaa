#include "HostFixture.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "rpc/UnixConnect.h"

namespace tessera {

TemporaryFolder::TemporaryFolder() {
  std::string name = std::filesystem::temp_directory_path() / "tessera-host-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
  _path = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(_path, ignored);
}

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

LoopFixture::LoopFixture()
    : home(Home::at(folder.path())),
      log((home.create(), home.log() / "fileproviderd.log")),
      loop{*io.lowLevelProvider, io.unixEventPort, io.provider->getTimer(), log} {}

HostOptions HostFixture::fastOptions() {
  HostOptions options;
  options.extension.program = FAKES_FOLDER "/tessera-fileprovider";
  options.extension.pingEvery = 10 * kj::MILLISECONDS;
  options.skiff.program = FAKES_FOLDER "/skiff";
  return options;
}

HostFixture::HostFixture(HostOptions options)
    : host(home, loop, std::move(options)),
      connection(connect()),
      client(connection->bootstrapAs<wire::FileProviderHost>()) {}

std::unique_ptr<RpcConnection> HostFixture::connect() {
  std::error_code error;
  auto socket = connectUnix(home.hostSocket(), error);
  if (error) throw std::system_error(error, "connect");
  return std::make_unique<RpcConnection>(loop.io, loop.timer, kj::mv(socket),
                                         RpcConnection::Side::Client);
}

HostFixture::ItemCall HostFixture::askForItem(const std::string& identifier) {
  auto request = client.itemForIdentifierRequest();
  request.setIdentifier(identifier.c_str());
  return request.send();
}

std::string HostFixture::outcomeOf(ItemCall call) {
  const auto response = call.wait(io.waitScope);
  return response.getFound() ? "found" : nameOf(response.getError());
}

std::string HostFixture::itemOutcome(const std::string& identifier) {
  return outcomeOf(askForItem(identifier));
}

capnp::Response<wire::FileProviderHost::StatusResults> HostFixture::status() {
  return client.statusRequest().send().wait(io.waitScope);
}

std::string nameOf(wire::Error::Reader error) {
  if (error.getDomain().size() == 0) return {};
  return std::string(error.getDomain()) + " " + std::to_string(error.getCode());
}

std::string descriptionOf(wire::Error::Reader error) {
  for (const auto entry : error.getUserInfo()) {
    if (entry.getKey() == "NSLocalizedDescription"_kj) return entry.getValue().getText();
  }
  return {};
}

}  // namespace tessera
