#pragma once

#include <cstdint>
#include <map>
#include <memory>

namespace tessera {

// The values that LoopBound holders keep on a loop. Those that are still there when the
// loop stops are destroyed by it, the youngest first: a reference before its connection.
//
// Threads: the loop's.
class LoopValues {
 public:
  struct Value {
    virtual ~Value() noexcept(false) = default;
  };

  LoopValues() = default;
  LoopValues(const LoopValues&) = delete;
  LoopValues& operator=(const LoopValues&) = delete;

  // Returns the key under which the value is kept.
  [[nodiscard]] std::uint64_t add(std::unique_ptr<Value> value);
  // Nullptr once the value is gone.
  [[nodiscard]] Value* find(std::uint64_t key) const;
  void remove(std::uint64_t key);
  void clear();

 private:
  std::map<std::uint64_t, std::unique_ptr<Value>> _values;
  std::uint64_t _nextKey = 1;
};

}  // namespace tessera
