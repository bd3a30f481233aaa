#include "host/ReadyNotice.h"

#include <fcntl.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

namespace tessera {

ReadyNotice::ReadyNotice(int descriptor) {
  if (descriptor < 0) return;
  _descriptor = kj::AutoCloseFd(descriptor);
  ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

void ReadyNotice::send(const std::string& text) {
  if (_descriptor == nullptr) return;
  [[maybe_unused]] const ssize_t count = ::write(_descriptor.get(), text.data(), text.size());
  _descriptor = nullptr;
}

void ReadyNotice::ready() {
  send("R");
  ::sd_notify(0, "READY=1");
}

void ReadyNotice::failed(const std::string& reason) {
  send(reason);
}

}  // namespace tessera
