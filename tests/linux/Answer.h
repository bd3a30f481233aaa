#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

namespace tessera {

// Takes down the calls of a handler: their arguments, and how many there were.
//
//   Answer<NSErrorPtr> answer;
//   start(answer.handler());
//   EXPECT_EQ(std::get<0>(answer.wait()), nullptr);
//   EXPECT_EQ(answer.count(), 1U);  // when nothing runs any more
//
// Threads: any. The handler may outlive this.
template <class... A>
class Answer {
 public:
  [[nodiscard]] auto handler() const {
    return [state = _state](const A&... arguments) {
      std::lock_guard held(state->lock);
      state->calls.emplace_back(arguments...);
      state->changed.notify_all();
    };
  }
  // The arguments of the first call, or of the n-th; waits for it.
  std::tuple<A...> wait(std::size_t number = 1) const {
    std::unique_lock held(_state->lock);
    _state->changed.wait(held, [&] { return _state->calls.size() >= number; });
    return _state->calls[number - 1];
  }
  [[nodiscard]] std::size_t count() const {
    std::lock_guard held(_state->lock);
    return _state->calls.size();
  }

 private:
  struct State {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<std::tuple<A...>> calls;  // guarded by lock
  };
  std::shared_ptr<State> _state = std::make_shared<State>();
};

}  // namespace tessera
