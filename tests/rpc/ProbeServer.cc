#include "ProbeServer.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include <kj/async-io.h>
#include <kj/debug.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "rpc/RpcConnection.h"

namespace tessera {

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // see ProbeServer.h

class FileDescriptor final : public probe::Descriptor::Server {
 public:
  explicit FileDescriptor(kj::AutoCloseFd fd) : _fd(kj::mv(fd)) {}
  kj::Maybe<int> getFd() override { return _fd.get(); }

 private:
  const kj::AutoCloseFd _fd;
};

#pragma GCC diagnostic pop

[[noreturn]] void serve(kj::AutoCloseFd socket) {
  auto io = kj::setupAsyncIo();
  RpcConnection connection(*io.lowLevelProvider, io.provider->getTimer(), kj::mv(socket),
                           RpcConnection::Side::Server,
                           probe::Probe::Client(kj::heap<ProbeServer>()));
  connection.whenDisconnected().wait(io.waitScope);
  ::_exit(0);
}

}  // namespace

kj::Promise<void> ProbeServer::ping(PingContext) {
  ++_counts->pings;
  return kj::READY_NOW;
}

kj::Promise<void> ProbeServer::hang(HangContext context) {
  ++_counts->hangs;
  if (context.getParams().getCancellable()) context.allowCancellation();
  return kj::Promise<void>(kj::NEVER_DONE)
      .attach(kj::defer([counts = kj::addRef(*_counts)]() mutable { ++counts->cancellations; }));
}

kj::Promise<void> ProbeServer::add(AddContext context) {
  const auto terms = context.getParams();
  context.getResults().setSum(terms.getLeft() + terms.getRight());
  return kj::READY_NOW;
}

kj::Promise<void> ProbeServer::fail(FailContext) {
  KJ_FAIL_REQUIRE("told to fail");
}

kj::Promise<void> ProbeServer::bytes(BytesContext context) {
  const auto count = context.getParams().getCount();
  auto turn = kj::newPromiseAndFulfiller<void>();
  if (context.getParams().getLate()) {
    _late.push_back(kj::mv(turn.fulfiller));
  } else {
    turn.fulfiller->fulfill();
  }
  return turn.promise.then([context, count]() mutable { context.getResults().initData(count); });
}

void ProbeServer::answerLate() {
  for (auto& waiting : std::exchange(_late, {})) waiting->fulfill();
}

kj::Promise<void> ProbeServer::counts(CountsContext context) {
  auto results = context.getResults();
  results.setPings(_counts->pings);
  results.setHangs(_counts->hangs);
  results.setCancellations(_counts->cancellations);
  return kj::READY_NOW;
}

kj::Promise<void> ProbeServer::pushTo(PushToContext context) {
  auto request = context.getParams().getReceiver().pushRequest();
  request.setNumber(context.getParams().getNumber());
  return request.send().ignoreResult();
}

kj::Promise<void> ProbeServer::open(OpenContext context) {
  const auto text = context.getParams().getText();
  int fd = -1;
  KJ_SYSCALL(fd = ::memfd_create("probe", MFD_CLOEXEC));
  kj::AutoCloseFd file(fd);
  KJ_SYSCALL(::write(fd, text.begin(), text.size()));
  context.getResults().setFile(kj::heap<FileDescriptor>(kj::mv(file)));
  return kj::READY_NOW;
}

kj::Promise<void> ProbeServer::leave(LeaveContext) {
  onLeave();
  return kj::NEVER_DONE;
}

kj::Promise<void> CountingReceiver::push(PushContext context) {
  _onPush(context.getParams().getNumber());
  return kj::READY_NOW;
}

SocketPair::SocketPair() {
  int ends[2];
  KJ_SYSCALL(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
  near = kj::AutoCloseFd(ends[0]);
  far = kj::AutoCloseFd(ends[1]);
}

ServerProcess::ServerProcess() {
  SocketPair sockets;
  KJ_SYSCALL(_pid = ::fork());
  if (_pid == 0) {
    sockets.near = nullptr;
    serve(kj::mv(sockets.far));
  }
  _socket = kj::mv(sockets.near);
}

ServerProcess::~ServerProcess() {
  killNow();
}

void ServerProcess::signal(int number) const {
  KJ_SYSCALL(::kill(_pid, number));
}

void ServerProcess::killNow() {
  if (_pid == 0) return;
  ::kill(_pid, SIGKILL);
  ::waitpid(std::exchange(_pid, 0), nullptr, 0);
}

}  // namespace tessera
