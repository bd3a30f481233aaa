#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace tessera {

// How far a piece of work has come, and a way to cancel it from where it is watched.
//
// Threads: any. The cancellation handler runs once, on the cancelling thread, or at
// once when it is set after the cancellation.
class NSProgress {
 public:
  // progressWithTotalUnitCount:
  [[nodiscard]] static std::shared_ptr<NSProgress> progressWithTotalUnitCount(std::int64_t total);
  explicit NSProgress(std::int64_t total) : _total(total) {}

  [[nodiscard]] std::int64_t totalUnitCount() const noexcept { return _total; }
  void setTotalUnitCount(std::int64_t count) noexcept { _total = count; }
  [[nodiscard]] std::int64_t completedUnitCount() const noexcept { return _completed; }
  void setCompletedUnitCount(std::int64_t count) noexcept { _completed = count; }

  void setCancellationHandler(std::function<void()> handler);
  void cancel();
  [[nodiscard]] bool isCancelled() const noexcept { return _cancelled; }

 private:
  std::atomic<std::int64_t> _total;
  std::atomic<std::int64_t> _completed{0};
  std::atomic<bool> _cancelled{false};
  std::mutex _lock;
  std::function<void()> _handler;  // guarded by _lock
};

}  // namespace tessera
