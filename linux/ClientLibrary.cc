#include "linux/ClientLibrary.h"

#include <string>

#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

const Home& created(const Home& home) {
  home.create();
  return home;
}

void logLoopFailure(const kj::Exception& failure) {
  gvc_default_log().error("[ERROR] on the client library's loop: %@",
                          std::string(failure.getDescription().cStr()));
}

}  // namespace

ClientLibrary::ClientLibrary(const Home& home, const SkiffPatience& patience)
    : _loop(logLoopFailure),
      _skiff(_loop, _callbacks, created(home).skiffSocket(), patience),
      _accounts(home),
      _containers(home),
      _daemon(_skiff),
      _downloads(_skiff),
      _items(_skiff),
      _urls(_skiff, _containers, home),
      _observer(home.state(),
                {{home.accountFile().filename(), [this] { _accounts.fileDidChange(); }},
                 {home.containersFile().filename(), [this] { _containers.fileDidChange(); }}}) {}

}  // namespace tessera
