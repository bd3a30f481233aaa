#pragma once

#include <memory>
#include <utility>

#include <kj/debug.h>

#include "rpc/EventLoop.h"

namespace tessera {

// Holder of a value that must be used and destroyed on an event loop: a capability, a
// connection, a fulfiller.
//
// Copies travel freely between threads and share the value. When the last copy goes, the
// value is destroyed on the loop; what the loop still holds when it stops, it destroys
// itself, and holders that are left are empty shells from then on.
//
// Threads: construction and get() on the loop; copying and dropping any.
// Lifetime: may outlive the loop.
template <class T>
class LoopBound {
 public:
  LoopBound() = default;
  LoopBound(EventLoop& loop, T value)
      : _handle(std::make_shared<Handle>(loop, std::make_unique<Held>(kj::mv(value)))) {}

  // Fails on any other thread, and when the stopping loop has already destroyed the value.
  [[nodiscard]] T& get() const {
    KJ_REQUIRE(_handle != nullptr, "an empty holder was asked for its value");
    return static_cast<Held&>(_handle->find()).value;
  }
  explicit operator bool() const { return _handle != nullptr; }
  // Drops this copy.
  void reset() { _handle.reset(); }

 private:
  struct Held final : LoopValues::Value {
    explicit Held(T v) : value(kj::mv(v)) {}
    T value;
  };

  class Handle {
   public:
    Handle(EventLoop& loop, std::unique_ptr<Held> held)
        : _loop(loop), _queue(loop.queue()), _key(loop.values().add(std::move(held))) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    // The queue refuses once the loop has stopped, and then `_loop` is never looked at.
    ~Handle() {
      auto remove = [&loop = _loop, key = _key] { loop.values().remove(key); };
      if (EventLoop::currentQueue() == _queue.get()) {
        remove();
      } else {
        _queue->post(kj::mv(remove));
      }
    }

    LoopValues::Value& find() const {
      KJ_REQUIRE(EventLoop::currentQueue() == _queue.get(), "used off the value's loop");
      return KJ_REQUIRE_NONNULL(kj::Maybe<LoopValues::Value&>(_loop.values().find(_key)),
                                "the value went with the loop");
    }

   private:
    EventLoop& _loop;
    const std::shared_ptr<LoopQueue> _queue;
    const std::uint64_t _key;
  };

  std::shared_ptr<Handle> _handle;
};

}  // namespace tessera
