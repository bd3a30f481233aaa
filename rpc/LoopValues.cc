#include "rpc/LoopValues.h"

#include <utility>

namespace tessera {

std::uint64_t LoopValues::add(std::unique_ptr<Value> value) {
  const auto key = _nextKey++;
  _values.emplace(key, std::move(value));
  return key;
}

LoopValues::Value* LoopValues::find(std::uint64_t key) const {
  const auto found = _values.find(key);
  return found == _values.end() ? nullptr : found->second.get();
}

// Taken out first: the destructor of a value may drop the holder of another one.
void LoopValues::remove(std::uint64_t key) {
  const auto removed = _values.extract(key);
}

void LoopValues::clear() {
  while (!_values.empty()) remove(std::prev(_values.end())->first);
}

}  // namespace tessera
