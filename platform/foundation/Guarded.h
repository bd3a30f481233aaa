#pragma once

#include <mutex>
#include <utility>

namespace tessera {

// A value that can be reached only through its lock.
//
//   auto waiters = _pending.lock()->take(id);  // held until the end of the statement
template <class T, class Mutex = std::mutex>
class Guarded {
 public:
  class Access {
   public:
    Access(T& value, Mutex& mutex) : _value(value), _held(mutex) {}
    T* operator->() const noexcept { return &_value; }
    T& operator*() const noexcept { return _value; }

   private:
    T& _value;
    std::unique_lock<Mutex> _held;
  };

  Guarded() = default;
  explicit Guarded(T value) : _value(std::move(value)) {}

  [[nodiscard]] Access lock() { return Access(_value, _mutex); }

 private:
  T _value{};
  Mutex _mutex;
};

}  // namespace tessera
