#include "linux/SkiffClient.h"

namespace tessera {

SkiffClient::SkiffClient(EventLoop& loop, CallbackPool& callbacks,
                         const std::filesystem::path& socket, const SkiffPatience& patience)
    : _loop(loop), _callbacks(callbacks), _patience(patience) {
  using Link = LoopBound<kj::Own<SkiffLink>>;
  auto link = tessera::callBlocking<Link>(loop, [&loop, &socket, &patience]() -> kj::Promise<Link> {
    return Link(loop, kj::heap<SkiffLink>(loop, socket, patience));
  });
  KJ_REQUIRE(link.ok(), "the loop does not run", link.failure().text.c_str());
  _link = std::move(link).value();
}

void SkiffClient::close() {
  _loop.post([link = _link] { link.get()->close(); });
}

}  // namespace tessera
