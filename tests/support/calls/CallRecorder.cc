#include "tests/support/calls/CallRecorder.h"

#include <algorithm>
#include <utility>

namespace tessera {

void CallRecorder::record(std::string call) {
  const std::lock_guard held(_lock);
  _calls.push_back(std::move(call));
  _recorded.notify_all();
}

std::vector<std::string> CallRecorder::calls() const {
  const std::lock_guard held(_lock);
  return _calls;
}

std::size_t CallRecorder::count(std::string_view call) const {
  const std::lock_guard held(_lock);
  return static_cast<std::size_t>(std::ranges::count(_calls, call));
}

void CallRecorder::clear() {
  const std::lock_guard held(_lock);
  _calls.clear();
}

void CallRecorder::waitFor(std::string_view call, std::size_t times) const {
  std::unique_lock held(_lock);
  _recorded.wait(held, [this, call, times] {
    return static_cast<std::size_t>(std::ranges::count(_calls, call)) >= times;
  });
}

}  // namespace tessera
