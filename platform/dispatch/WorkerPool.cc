#include "platform/dispatch/WorkerPool.h"

#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace tessera {

WorkerPool& WorkerPool::shared() {
  static WorkerPool pool;
  return pool;
}

WorkerPool::~WorkerPool() {
  Lock held(_lock);
  _ending = true;
  _changed.notify_all();
  _changed.wait(held, [this] { return _threads.empty(); });
  held.unlock();
  join(std::move(_ended));
}

void WorkerPool::run(Work work) {
  std::vector<std::thread> ended;
  {
    const Lock held(_lock);
    ended.swap(_ended);
    _work.push_back(std::move(work));
    if (_work.size() <= _free) {
      _changed.notify_one();
    } else {
      addThread();
    }
  }
  join(std::move(ended));
}

std::size_t WorkerPool::threadCount() const {
  const Lock held(_lock);
  return _threads.size();
}

// Called with _lock held, which the new thread takes first: it finds itself in _threads.
void WorkerPool::addThread() {
  try {
    std::thread thread([this] { serve(); });
    const auto identifier = thread.get_id();
    _threads.emplace(identifier, std::move(thread));
    ++_free;
  } catch (const std::system_error& failure) {
    if (!_threads.empty()) return;  // late is better than never: one of them gets to it
    std::fprintf(stderr, "WorkerPool: cannot make a thread: %s\n", failure.what());
    std::abort();
  }
}

void WorkerPool::serve() {
  Lock held(_lock);
  while (waitForWork(held)) {
    Work work = std::move(_work.front());
    _work.pop_front();
    --_free;
    held.unlock();
    [&work]() noexcept {
      work();
      work = nullptr;  // what it captured goes before anybody sees this thread free
    }();
    held.lock();
    ++_free;
  }
  --_free;
  const auto self = _threads.find(std::this_thread::get_id());
  _ended.push_back(std::move(self->second));
  _threads.erase(self);
  if (_ending) _changed.notify_all();
}

// False when the thread shall end.
bool WorkerPool::waitForWork(Lock& held) {
  const auto somethingToDo = [this] { return !_work.empty() || _ending; };
  _changed.wait_for(held, _idleTime, somethingToDo);
  return !_work.empty();
}

void WorkerPool::join(std::vector<std::thread> ended) {
  for (auto& thread : ended) thread.join();
}

}  // namespace tessera
