#include "rpc/UnixListener.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <kj/debug.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tessera {

namespace {

constexpr int kBacklog = 128;
// In one turn, so that a flood of connections does not keep the loop from those it has.
constexpr int kMostAcceptedInARow = 16;
// When descriptors or memory have run out.
constexpr auto kPauseWithoutMeans = 100 * kj::MILLISECONDS;

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

kj::AutoCloseFd newSocket() {
  kj::AutoCloseFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (socket == nullptr) fail("cannot make a socket");
  // What is bound later gets this mode.
  if (::fchmod(socket.get(), 0600) != 0) fail("cannot set a socket's mode");
  return socket;
}

bool isOutOfMeans(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

UnixListener::UnixListener(kj::UnixEventPort& port, kj::Timer& timer,
                           const std::filesystem::path& path, Options options, Handler handler)
    : _timer(timer),
      _options(options),
      _name(path.filename().string()),
      _folder(SocketFolder::prepare(path.parent_path())),
      _socket(newSocket()),
      _handler(kj::mv(handler)),
      _slots(std::make_shared<int>(0)),
      _observer(port, _socket.get(), kj::UnixEventPort::FdObserver::OBSERVE_READ) {
  bindSocket(_options.holdsInstanceLock);
  if (::fstatat(_folder.fd(), _name.c_str(), &_bound, AT_SYMLINK_NOFOLLOW) != 0) {
    fail("the socket is not where it was bound");
  }
  if (::listen(_socket.get(), kBacklog) != 0) fail("cannot listen");
  _accepting = acceptAll().eagerlyEvaluate(
      [](kj::Exception&& failure) { KJ_LOG(ERROR, "no more connections are accepted", failure); });
}

UnixListener::~UnixListener() noexcept(false) {
  struct stat found {};
  if (::fstatat(_folder.fd(), _name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
      found.st_dev == _bound.st_dev && found.st_ino == _bound.st_ino) {
    ::unlinkat(_folder.fd(), _name.c_str(), 0);
  }
}

void UnixListener::bindSocket(bool mayReplace) {
  const auto address = _folder.address(_name);
  const auto* raw = reinterpret_cast<const sockaddr*>(&address);
  if (::bind(_socket.get(), raw, sizeof address) == 0) return;
  if (errno != EADDRINUSE || !mayReplace) fail("cannot bind a socket");
  removeStale();
  if (::bind(_socket.get(), raw, sizeof address) != 0) fail("cannot bind a socket");
}

void UnixListener::removeStale() const {
  struct stat found {};
  if (::fstatat(_folder.fd(), _name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (!S_ISSOCK(found.st_mode)) {
    throw std::system_error(EADDRINUSE, std::generic_category(), _name + " is not a socket");
  }
  if (::unlinkat(_folder.fd(), _name.c_str(), 0) != 0) fail("cannot remove a stale socket");
}

kj::Promise<void> UnixListener::acceptAll() {
  for (int i = 0; i < kMostAcceptedInARow; ++i) {
    kj::AutoCloseFd fd(::accept4(_socket.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (fd != nullptr) {
      admit(kj::mv(fd));
    } else if (errno == EAGAIN) {
      return _observer.whenBecomesReadable().then([this] { return acceptAll(); });
    } else if (isOutOfMeans(errno)) {
      return _timer.afterDelay(kPauseWithoutMeans).then([this] { return acceptAll(); });
    } else if (errno != EINTR && errno != ECONNABORTED) {
      KJ_FAIL_SYSCALL("accept4", errno);
    }
  }
  return kj::evalLater([this] { return acceptAll(); });
}

void UnixListener::admit(kj::AutoCloseFd fd) {
  const auto failure = kj::runCatchingExceptions([&] {
    const auto peer = PeerCredentials::of(fd.get());
    if (!peer.mayConnect()) {
      KJ_LOG(WARNING, "a process of another user was refused", peer.pid, peer.uid);
    } else if (connectionCount() >= _options.mostConnections) {
      KJ_LOG(WARNING, "a connection too many was refused", peer.pid);
    } else {
      _handler(AcceptedSocket{kj::mv(fd), peer, _slots});
    }
  });
  KJ_IF_MAYBE (exception, failure) {
    KJ_LOG(ERROR, "a connection failed", *exception);
  }
}

}  // namespace tessera
