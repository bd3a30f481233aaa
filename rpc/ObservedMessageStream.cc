#include "rpc/ObservedMessageStream.h"

namespace tessera {

kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> ObservedMessageStream::tryReadMessage(
    kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options,
    kj::ArrayPtr<capnp::word> scratchSpace) {
  _onTraffic();
  return _inner.tryReadMessage(fdSpace, options, scratchSpace);
}

kj::Promise<void> ObservedMessageStream::writeMessage(
    kj::ArrayPtr<const int> fds, kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) {
  _onTraffic();
  return _inner.writeMessage(fds, segments);
}

kj::Promise<void> ObservedMessageStream::writeMessages(
    kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) {
  _onTraffic();
  return _inner.writeMessages(messages);
}

}  // namespace tessera
