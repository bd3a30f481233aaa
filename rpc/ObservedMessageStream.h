#pragma once

#include <capnp/serialize-async.h>
#include <kj/function.h>

namespace tessera {

// A message stream that tells when messages are about to be read or written: the moments at
// which its owner looks at what has piled up.
//
// Invariant: never destroyed through its interface, which has no virtual destructor.
// Threads: the loop's.
class ObservedMessageStream final : private capnp::MessageStream {
 public:
  // `inner` must outlive this.
  ObservedMessageStream(capnp::MessageStream& inner, kj::Function<void()> onTraffic)
      : _inner(inner), _onTraffic(kj::mv(onTraffic)) {}

  [[nodiscard]] capnp::MessageStream& interface() { return *this; }

 private:
  kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> tryReadMessage(
      kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options,
      kj::ArrayPtr<capnp::word> scratchSpace) override;
  kj::Promise<void> writeMessage(
      kj::ArrayPtr<const int> fds,
      kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) override;
  kj::Promise<void> writeMessages(
      kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) override;
  kj::Maybe<int> getSendBufferSize() override { return _inner.getSendBufferSize(); }
  kj::Promise<void> end() override { return _inner.end(); }

  capnp::MessageStream& _inner;
  kj::Function<void()> _onTraffic;
};

}  // namespace tessera
