#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <tuple>

namespace tessera {

// A completion handler that must be called exactly once: the test fails when this goes and
// it has not been, or more often. The first call's arguments are kept.
//
//   HandlerOnce<NSErrorPtr> done;
//   extension->startProvidingItemAtURL(url, done.handler());
//   EXPECT_EQ(nullptr, done.value());  // waits for the call
//
// Threads: any.
template <class... A>
class HandlerOnce {
 public:
  HandlerOnce() = default;
  HandlerOnce(const HandlerOnce&) = delete;
  HandlerOnce& operator=(const HandlerOnce&) = delete;
  ~HandlerOnce() { EXPECT_EQ(1U, calls()) << "a handler is called exactly once"; }

  [[nodiscard]] std::function<void(const A&...)> handler() const {
    return [state = _state](const A&... arguments) {
      const std::lock_guard held(state->lock);
      if (state->calls++ == 0) state->arguments.emplace(arguments...);
      state->called.notify_all();
    };
  }

  [[nodiscard]] std::size_t calls() const {
    const std::lock_guard held(_state->lock);
    return _state->calls;
  }

  // Waits for the first call.
  std::tuple<A...> wait() const {
    std::unique_lock held(_state->lock);
    _state->called.wait(held, [this] { return _state->calls > 0; });
    return *_state->arguments;
  }

  // The first call's first argument; waits for it.
  [[nodiscard]] auto value() const { return std::get<0>(wait()); }

 private:
  struct State {
    std::mutex lock;
    std::condition_variable called;
    std::size_t calls = 0;
    std::optional<std::tuple<A...>> arguments;
  };
  std::shared_ptr<State> _state = std::make_shared<State>();
};

}  // namespace tessera
