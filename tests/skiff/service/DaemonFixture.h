#pragma once

#include <capnp/rpc-twoparty.h>
#include <fcntl.h>
#include <kj/async-io.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"
#include "home/Home.h"
#include "home/HomeConfig.h"
#include "protocol/skiff.capnp.h"
#include "rpc/RpcConnection.h"
#include "rpc/UnixConnect.h"
#include "skiff/store/ItemID.h"

namespace tessera {

// A folder with a home and a cloud, and the daemon as a process of its own in that home.
class DaemonFixture {
 public:
  DaemonFixture() {
    std::string pattern = (std::filesystem::temp_directory_path() / "skiff-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp");
    folder = pattern;
    home.emplace(Home::at(folder / "home"));
    home->create();
    HomeConfig{cloudFolder().string(), PlaceholderKind::Hidden}.save(*home);
  }
  ~DaemonFixture() {
    if (_pid > 0) kill(SIGKILL);
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
  DaemonFixture(const DaemonFixture&) = delete;
  DaemonFixture& operator=(const DaemonFixture&) = delete;

  [[nodiscard]] std::filesystem::path cloudFolder() const { return folder / "cloud"; }

  // Starts the daemon; returns once its socket takes connections.
  void start(const std::vector<std::string>& arguments = {}, int keepOpen = -1) {
    _pid = spawn(arguments, keepOpen);
    for (;;) {
      std::error_code error;
      if (connectUnix(home->skiffSocket(), error) != nullptr) return;
      if (::waitpid(_pid, nullptr, WNOHANG) == _pid) {
        _pid = -1;
        throw std::runtime_error("skiff ended at once");
      }
      ::usleep(2000);
    }
  }
  // Runs the daemon to its end; returns its exit status.
  int run(const std::vector<std::string>& arguments = {}) {
    pid_t pid = spawn(arguments, -1);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  // Returns the exit status, -1 when the signal ended it.
  int kill(int signal) {
    ::kill(_pid, signal);
    return waitForEnd();
  }
  int waitForEnd() {
    int status = 0;
    ::waitpid(_pid, &status, 0);
    _pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // The cloud as another device would see it.
  CloudService& cloud() {
    if (!_cloud) _cloud = openCloudService(cloudFolder(), OpenCloud::CreateIfMissing);
    return *_cloud;
  }
  CloudDatabase& database(const std::string& account = "ann") {
    if (!_database) {
      cloud().makeAccount(account);
      _database = cloud().privateDatabase(account);
    }
    return *_database;
  }
  Asset upload(const std::string& content) {
    auto assets = cloud().assets();
    Asset asset = assets->put(std::as_bytes(std::span(content)));
    assets->commit({asset});
    return asset;
  }
  static DocumentRecord document(const std::string& name, const std::optional<Asset>& content,
                                 const std::string& parent = kDocumentsFolderRecord) {
    DocumentRecord record;
    record.id = {ZoneID{"ann", kDefaultContainer}, ItemID::random().toString()};
    record.kind = content ? DocumentKind::Document : DocumentKind::Folder;
    record.parent = parent;
    record.name = name;
    record.content = content;
    record.createdAt = 1'600'000'000'000'000'000;
    record.modifiedAt = 1'650'000'000'123'456'789;
    return record;
  }
  DocumentRecord save(const DocumentRecord& record) {
    return DocumentRecord::fromRecord(
        database().modify({record.toRecord()}, {}, SavePolicy::Overwrite).front());
  }
  DocumentRecord saveDocument(const std::string& name, const std::string& content,
                              const std::string& parent = kDocumentsFolderRecord) {
    return save(document(name, upload(content), parent));
  }
  DocumentRecord saveFolder(const std::string& name,
                            const std::string& parent = kDocumentsFolderRecord) {
    return save(document(name, std::nullopt, parent));
  }
  void erase(const DocumentRecord& record) {
    database().modify({}, {record.id}, SavePolicy::Overwrite);
  }

  [[nodiscard]] std::filesystem::path inTree(const std::string& path) const {
    return home->tree() / path;
  }
  static std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  std::filesystem::path folder;
  std::optional<Home> home;

 private:
  pid_t spawn(const std::vector<std::string>& arguments, int keepOpen) {
    pid_t pid = ::fork();
    if (pid != 0) return pid;
    if (keepOpen >= 0) ::fcntl(keepOpen, F_SETFD, 0);
    ::setenv("TESSERA_HOME", home->name().c_str(), 1);
    std::vector<char*> argv{const_cast<char*>("skiff")};
    for (const std::string& argument : arguments)
      argv.push_back(const_cast<char*>(argument.data()));
    argv.push_back(nullptr);
    ::execv(SKIFF_PROGRAM, argv.data());
    ::_exit(127);
  }

  pid_t _pid = -1;
  std::unique_ptr<CloudService> _cloud;
  std::shared_ptr<CloudDatabase> _database;
};

// A client of the daemon, on the test's own thread.
class DaemonClient {
 public:
  explicit DaemonClient(const DaemonFixture& fixture) : io(kj::setupAsyncIo()) {
    std::error_code error;
    kj::AutoCloseFd socket = connectUnix(fixture.home->skiffSocket(), error);
    if (error) throw std::system_error(error, "connect to skiff");
    connection = kj::heap<RpcConnection>(*io.lowLevelProvider, io.provider->getTimer(),
                                         kj::mv(socket), RpcConnection::Side::Client);
  }

  wire::Skiff::Client skiff() { return connection->bootstrapAs<wire::Skiff>(); }
  wire::Admin::Client admin() { return skiff().adminRequest().send().getAdmin(); }

  // "domain code", empty for no error.
  static std::string describe(wire::Error::Reader error) {
    if (error.getDomain().size() == 0) return "";
    return std::string(error.getDomain().cStr()) + " " + std::to_string(error.getCode());
  }
  static std::string describeText(wire::Error::Reader error) {
    for (auto entry : error.getUserInfo()) {
      if (entry.getKey() == "NSLocalizedDescription") return entry.getValue().getText().cStr();
    }
    return "";
  }

  std::string login(const std::string& name = "ann") {
    auto request = admin().loginRequest();
    request.setAccountName(name);
    return describe(request.send().wait(io.waitScope).getError());
  }
  std::string logout() {
    return describe(admin().logoutRequest().send().wait(io.waitScope).getError());
  }
  std::string waitUntilIdle() {
    return describe(admin().waitUntilIdleRequest().send().wait(io.waitScope).getError());
  }
  kj::Promise<std::string> startDownload(const std::string& path, bool wantsCurrent = false) {
    auto request = skiff().downloadRequest();
    request.setPath(path);
    request.setWantsCurrentVersion(wantsCurrent);
    return request.send().then([](auto&& reply) { return describe(reply.getError()); });
  }
  std::string download(const std::string& path, bool wantsCurrent = false) {
    return startDownload(path, wantsCurrent).wait(io.waitScope);
  }
  // Names in a folder, in pages of `limit`; a folder's name ends with '/', a placeholder's
  // with '~'.
  std::vector<std::string> list(const std::string& folder = "", unsigned limit = 200) {
    std::vector<std::string> names;
    std::uint64_t offset = 0;
    do {
      auto request = skiff().enumerateItemsInFolderRequest();
      request.setFolder(folder);
      request.setOffset(offset);
      request.setLimit(limit);
      auto reply = request.send().wait(io.waitScope);
      if (std::string error = describe(reply.getError()); !error.empty()) return {error};
      for (auto item : reply.getItems()) {
        std::string name = item.getFilename().cStr();
        if (item.getIsFolder()) name += "/";
        if (!item.getIsDownloaded()) name += "~";
        names.push_back(name);
      }
      offset = reply.getNextOffset();
    } while (offset != 0);
    return names;
  }
  capnp::Response<wire::Skiff::ItemAtPathResults> itemAtPath(const std::string& path,
                                                             bool scanFirst = false) {
    auto request = skiff().itemAtPathRequest();
    request.setPath(path);
    request.setScanFirst(scanFirst);
    return request.send().wait(io.waitScope);
  }
  capnp::Response<wire::Admin::StatusResults> status() {
    return admin().statusRequest().send().wait(io.waitScope);
  }

  kj::AsyncIoContext io;
  kj::Own<RpcConnection> connection;
};

}  // namespace tessera
