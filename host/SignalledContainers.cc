#include "host/SignalledContainers.h"

namespace tessera {

bool SignalledContainers::signal(const std::string& container) {
  if (container.empty() || container.size() > kLongestName) return false;
  if (_counts.size() >= kMost && !_counts.contains(container)) return false;
  ++_counts[container];
  return true;
}

std::uint64_t SignalledContainers::count(const std::string& container) const {
  const auto found = _counts.find(container);
  return found == _counts.end() ? 0 : found->second;
}

}  // namespace tessera
