#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace tessera {

// Which containers the extension has said changed, and how often: what a reader of them has
// to compare with to know that it is behind.
//
// Invariant: at most kMost containers are remembered, each with a name of at most
// kLongestName bytes; an extension cannot make the host grow without end.
// Threads: one.
class SignalledContainers {
 public:
  static constexpr std::size_t kMost = 10'000;
  static constexpr std::size_t kLongestName = 256;

  // False for a name that is empty or too long, or one too many.
  [[nodiscard]] bool signal(const std::string& container);
  // How often the container was signalled.
  [[nodiscard]] std::uint64_t count(const std::string& container) const;

 private:
  std::map<std::string, std::uint64_t> _counts;
};

}  // namespace tessera
