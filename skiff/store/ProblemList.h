#pragma once

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tessera {

// What a person should know of: documents left out, content refused. One text for each thing
// that has a problem; it goes when the thing is well again. At most kCapacity are kept.
//
// Threads: any.
class ProblemList {
 public:
  static constexpr std::size_t kCapacity = 200;

  void report(const std::string& about, const std::string& text);
  void settle(const std::string& about);
  [[nodiscard]] std::vector<std::string> texts();

 private:
  std::mutex _lock;
  std::map<std::string, std::string> _problems;  // guarded by _lock; by what they are about
  std::size_t _leftOut = 0;                      // guarded by _lock
};

}  // namespace tessera
