#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace tessera {

// What was called on all the fakes of a test, in one order.
//
// Threads: any. Lifetime: shared with the fakes and with what they have handed out.
class CallRecorder {
 public:
  void record(std::string call);

  [[nodiscard]] std::vector<std::string> calls() const;
  [[nodiscard]] std::size_t count(std::string_view call) const;
  void clear();

  // Returns once `call` has been recorded `times` times.
  void waitFor(std::string_view call, std::size_t times = 1) const;

 private:
  mutable std::mutex _lock;
  mutable std::condition_variable _recorded;
  std::vector<std::string> _calls;  // guarded by _lock
};

using CallRecorderPtr = std::shared_ptr<CallRecorder>;

}  // namespace tessera
