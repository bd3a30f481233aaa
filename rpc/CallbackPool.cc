#include "rpc/CallbackPool.h"

#include <utility>

namespace tessera {

CallbackPool::CallbackPool(std::size_t mostThreads) : _mostThreads(mostThreads) {}

CallbackPool::~CallbackPool() {
  std::unique_lock held(_lock);
  _ending = true;
  _changed.notify_all();
  // A callback may post another one, and that may add a thread.
  while (!_threads.empty()) {
    auto thread = std::move(_threads.back());
    _threads.pop_back();
    held.unlock();
    thread.join();
    held.lock();
  }
}

void CallbackPool::post(Callback callback) {
  const std::lock_guard held(_lock);
  _callbacks.push_back(kj::mv(callback));
  if (_callbacks.size() > _free && _threads.size() < _mostThreads) {
    _threads.emplace_back([this] { serve(); });
  }
  _changed.notify_one();
}

void CallbackPool::serve() {
  std::unique_lock held(_lock);
  for (;;) {
    ++_free;
    _changed.wait(held, [this] { return _ending || !_callbacks.empty(); });
    --_free;
    if (_callbacks.empty()) return;
    auto callback = kj::mv(_callbacks.front());
    _callbacks.pop_front();
    held.unlock();
    callback();
    { const auto done = kj::mv(callback); }  // what it captured goes outside the lock
    held.lock();
  }
}

}  // namespace tessera
