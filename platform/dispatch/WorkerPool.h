#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace tessera {

// Threads that run work given to them from anywhere.
//
// A piece of work may wait for another one: whenever more is queued than threads are
// free, a thread is added, without a limit. A thread that found nothing to do for
// `idleTime` ends. Work that throws ends the process.
//
// Threads: any. Lifetime: the pool owns its threads; destruction runs what was given
// (also what that work gives in turn) and joins them all, so it must not happen on one
// of them.
class WorkerPool {
 public:
  using Work = std::function<void()>;

  static constexpr std::chrono::milliseconds kIdleTime{5000};

  explicit WorkerPool(std::chrono::milliseconds idleTime = kIdleTime) : _idleTime(idleTime) {}
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;
  ~WorkerPool();

  // The process's pool, joined when the process exits. Work that may run that late must
  // not reach for statics made after the first use of the pool: they are gone before it.
  [[nodiscard]] static WorkerPool& shared();

  // Ends the process if no thread can be made and there is none that will get to the work.
  void run(Work work);

  [[nodiscard]] std::size_t threadCount() const;

 private:
  using Lock = std::unique_lock<std::mutex>;

  void addThread();
  void serve();
  bool waitForWork(Lock& held);
  static void join(std::vector<std::thread> ended);

  const std::chrono::milliseconds _idleTime;

  mutable std::mutex _lock;
  std::condition_variable _changed;
  // The rest is guarded by _lock.
  std::deque<Work> _work;
  std::map<std::thread::id, std::thread> _threads;
  std::vector<std::thread> _ended;  // left the pool, not joined yet
  std::size_t _free = 0;            // threads that will look for work before they end
  bool _ending = false;
};

}  // namespace tessera
