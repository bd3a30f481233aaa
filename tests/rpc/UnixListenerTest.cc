#include "rpc/UnixListener.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <kj/async-io.h>
#include <kj/debug.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "rpc/UnixConnect.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

// A folder of the test's own, gone with it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = ::testing::TempDir() + "tessera-rpc-XXXXXX";
    KJ_REQUIRE(::mkdtemp(name.data()) != nullptr);
    _path = name;
  }
  ~TemporaryFolder() { fs::remove_all(_path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const fs::path& path() const { return _path; }

 private:
  fs::path _path;
};

struct Fixture {
  kj::Own<UnixListener> listen(const fs::path& path, UnixListener::Options options = {}) {
    return kj::heap<UnixListener>(
        io.unixEventPort, io.provider->getTimer(), path, options,
        [this](AcceptedSocket let) { accepted.push_back(std::move(let)); });
  }
  kj::Own<UnixListener> listen(UnixListener::Options options = {}) {
    return listen(socket, options);
  }
  // The error of a listener that cannot be.
  int refusal(const fs::path& path, UnixListener::Options options = {}) {
    try {
      listen(path, options);
    } catch (const std::system_error& refused) {
      return refused.code().value();
    }
    return 0;
  }
  kj::AutoCloseFd connect() {
    auto fd = connectUnix(socket, error);
    io.waitScope.poll();
    return fd;
  }

  TemporaryFolder folder;
  fs::path socket = folder.path() / "run" / "a.sock";
  std::error_code error;
  kj::AsyncIoContext io = kj::setupAsyncIo();
  std::vector<AcceptedSocket> accepted;
};

// What the other end sees: 0 when the connection has ended, -1 when it stands.
ssize_t peek(const kj::AutoCloseFd& fd) {
  char byte = 0;
  return ::recv(fd.get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT);
}

mode_t modeOf(const fs::path& path) {
  struct stat found {};
  EXPECT_EQ(::lstat(path.c_str(), &found), 0);
  return found.st_mode & 07777;
}

TEST(UnixListener, HandsOverConnectionsWithTheirKernelsCredentials) {
  Fixture f;
  const auto listener = f.listen();
  const auto fd = f.connect();
  ASSERT_EQ(f.accepted.size(), 1u);
  EXPECT_EQ(f.accepted[0].peer.pid, ::getpid());
  EXPECT_EQ(f.accepted[0].peer.uid, ::geteuid());
  EXPECT_EQ(f.accepted[0].peer.gid, ::getegid());
  ASSERT_EQ(::send(f.accepted[0].fd.get(), "x", 1, 0), 1);
  EXPECT_EQ(peek(fd), 1);
  EXPECT_EQ(::fcntl(f.accepted[0].fd.get(), F_GETFD), FD_CLOEXEC);
}

TEST(UnixListener, KeepsItsFolderAndSocketToTheUser) {
  Fixture f;
  ::umask(0);
  const auto listener = f.listen(f.folder.path() / "deep" / "er" / "a.sock");
  EXPECT_EQ(modeOf(f.folder.path() / "deep"), 0700u);
  EXPECT_EQ(modeOf(f.folder.path() / "deep" / "er"), 0700u);
  EXPECT_EQ(modeOf(f.folder.path() / "deep" / "er" / "a.sock"), 0600u);
}

TEST(UnixListener, RefusesAFolderThatLetsOthersIn) {
  Fixture f;
  const auto folder = f.socket.parent_path();
  fs::create_directory(folder);
  for (const mode_t mode : {0755u, 0710u, 0701u, 0777u}) {
    ASSERT_EQ(::chmod(folder.c_str(), mode), 0);
    EXPECT_EQ(f.refusal(f.socket), EPERM) << std::oct << mode;
  }
  ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
  EXPECT_EQ(f.refusal(f.socket), 0);
}

TEST(UnixListener, RefusesALinkInTheFoldersPlace) {
  Fixture f;
  fs::create_directory(f.folder.path() / "real");
  ::chmod((f.folder.path() / "real").c_str(), 0700);
  fs::create_directory_symlink("real", f.socket.parent_path());
  EXPECT_NE(f.refusal(f.socket), 0);
}

TEST(UnixListener, RefusesAnotherUsersFolder) {
  if (::geteuid() != 0) GTEST_SKIP() << "NOT TESTED: giving a folder away takes root";
  Fixture f;
  fs::create_directory(f.socket.parent_path());
  ASSERT_EQ(::chmod(f.socket.parent_path().c_str(), 0700), 0);
  ASSERT_EQ(::chown(f.socket.parent_path().c_str(), 65534, 65534), 0);
  EXPECT_EQ(f.refusal(f.socket), EPERM);
}

TEST(UnixListener, ServesAPathOfAnyLength) {
  Fixture f;
  f.socket = f.folder.path() / std::string(200, 'a') / std::string(200, 'b') / "long.sock";
  const auto listener = f.listen();
  const auto fd = f.connect();
  EXPECT_FALSE(f.error) << f.error.message();
  EXPECT_EQ(f.accepted.size(), 1u);
  EXPECT_TRUE(fs::is_socket(f.socket));
}

TEST(UnixListener, RefusesANameThatIsTooLong) {
  Fixture f;
  EXPECT_EQ(f.refusal(f.folder.path() / "run" / std::string(100, 'n')), ENAMETOOLONG);
  static_cast<void>(connectUnix(f.folder.path() / std::string(100, 'n'), f.error));
  EXPECT_EQ(f.error.value(), ENAMETOOLONG);
}

TEST(UnixListener, RemovesItsSocketWhenItGoes) {
  Fixture f;
  auto listener = f.listen();
  EXPECT_TRUE(fs::exists(f.socket));
  listener = nullptr;
  EXPECT_FALSE(fs::exists(f.socket));
}

// Leaves a socket behind as a killed server does.
void leaveStale(Fixture& f) {
  const auto aside = f.socket.string() + ".aside";
  auto listener = f.listen();
  fs::create_hard_link(f.socket, aside);
  listener = nullptr;
  fs::rename(aside, f.socket);
}

TEST(UnixListener, ReplacesAStaleSocketOnlyWithTheInstanceLock) {
  Fixture f;
  leaveStale(f);
  static_cast<void>(connectUnix(f.socket, f.error));
  EXPECT_EQ(f.error.value(), ECONNREFUSED);
  EXPECT_EQ(f.refusal(f.socket), EADDRINUSE);
  EXPECT_TRUE(fs::exists(f.socket));

  const auto listener = f.listen({.holdsInstanceLock = true});
  const auto fd = f.connect();
  EXPECT_EQ(f.accepted.size(), 1u);
}

TEST(UnixListener, NeverReplacesWhatIsNoSocket) {
  Fixture f;
  fs::create_directory(f.socket.parent_path());
  ::chmod(f.socket.parent_path().c_str(), 0700);
  std::ofstream(f.socket) << "a document";
  EXPECT_EQ(f.refusal(f.socket, {.holdsInstanceLock = true}), EADDRINUSE);
  EXPECT_TRUE(fs::is_regular_file(f.socket));
}

TEST(UnixListener, LeavesTheSocketOfItsSuccessorAlone) {
  Fixture f;
  auto first = f.listen();
  const auto second = f.listen({.holdsInstanceLock = true});
  first = nullptr;
  EXPECT_TRUE(fs::exists(f.socket));
  const auto fd = f.connect();
  EXPECT_EQ(f.accepted.size(), 1u);
}

TEST(UnixListener, RefusesMoreConnectionsThanAllowedUntilOneHasEnded) {
  Fixture f;
  const auto listener = f.listen({.mostConnections = 2});
  const auto one = f.connect();
  const auto two = f.connect();
  const auto three = f.connect();
  EXPECT_EQ(f.accepted.size(), 2u);
  EXPECT_EQ(listener->connectionCount(), 2u);
  EXPECT_EQ(peek(two), -1);
  EXPECT_EQ(peek(three), 0);
  f.accepted.pop_back();
  EXPECT_EQ(listener->connectionCount(), 1u);
  const auto four = f.connect();
  EXPECT_EQ(f.accepted.size(), 2u);
  EXPECT_EQ(peek(four), -1);
}

TEST(UnixListener, AcceptsAFloodInFull) {
  Fixture f;
  const auto listener = f.listen();
  std::vector<kj::AutoCloseFd> fds;
  for (int i = 0; i < 100; ++i) fds.push_back(connectUnix(f.socket, f.error));
  f.io.waitScope.poll();
  EXPECT_EQ(f.accepted.size(), 100u);
}

TEST(UnixListener, GoesOnAfterAHandlerThatThrew) {
  Fixture f;
  int handled = 0;
  const UnixListener listener(f.io.unixEventPort, f.io.provider->getTimer(), f.socket, {},
                              [&handled](AcceptedSocket) {
                                if (++handled == 1) KJ_FAIL_REQUIRE("the first one");
                              });
  const auto one = f.connect();
  const auto two = f.connect();
  EXPECT_EQ(handled, 2);
  EXPECT_EQ(listener.connectionCount(), 0u);
}

// In the child: connects as `user` and tells by its status whether the connection stood (1),
// ended (0) or never came (2).
[[noreturn]] void connectAs(uid_t user, const fs::path& path) {
  // A process that changed its user may not look at its own /proc/self/fd otherwise.
  if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0 ||
      ::prctl(PR_SET_DUMPABLE, 1) != 0) {
    ::_exit(3);
  }
  std::error_code error;
  const auto fd = connectUnix(path, error);
  if (error) ::_exit(2);
  const int flags = ::fcntl(fd.get(), F_GETFL);
  ::fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK);
  char byte = 0;
  ::_exit(::recv(fd.get(), &byte, 1, 0) == 0 ? 0 : 1);
}

TEST(UnixListener, RefusesProcessesOfOtherUsers) {
  if (::geteuid() != 0) GTEST_SKIP() << "NOT TESTED: becoming another user takes root";
  Fixture f;
  const auto listener = f.listen();
  // The folder keeps other users out already; here it must not.
  for (fs::path open = f.socket; open != f.folder.path().parent_path(); open = open.parent_path()) {
    ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
  }
  const pid_t child = ::fork();
  if (child == 0) connectAs(65534, f.socket);
  int status = 0;
  // Until the child has ended, which it does when it is refused.
  while (::waitpid(child, &status, WNOHANG) == 0) f.io.waitScope.poll();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(f.accepted.empty());
  EXPECT_EQ(listener->connectionCount(), 0u);
}

TEST(UnixConnect, TellsAMissingSocketFromADeadOne) {
  Fixture f;
  EXPECT_TRUE(connectUnix(f.socket, f.error) == nullptr);
  EXPECT_EQ(f.error.value(), ENOENT);
  leaveStale(f);
  EXPECT_TRUE(connectUnix(f.socket, f.error) == nullptr);
  EXPECT_EQ(f.error.value(), ECONNREFUSED);
  fs::remove(f.socket);
  EXPECT_TRUE(connectUnix(f.socket, f.error) == nullptr);
  EXPECT_EQ(f.error.value(), ENOENT);
  const auto listener = f.listen();
  EXPECT_FALSE(connectUnix(f.socket, f.error) == nullptr);
  EXPECT_FALSE(f.error);
}

TEST(UnixConnect, DoesNotWaitForAServerThatDoesNotAccept) {
  Fixture f;
  const auto listener = f.listen();
  std::vector<kj::AutoCloseFd> fds;
  while (!f.error) fds.push_back(connectUnix(f.socket, f.error));
  EXPECT_EQ(f.error.value(), EAGAIN);
  EXPECT_GT(fds.size(), 1u);
}

}  // namespace
}  // namespace tessera
