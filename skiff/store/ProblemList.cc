#include "skiff/store/ProblemList.h"

namespace tessera {

void ProblemList::report(const std::string& about, const std::string& text) {
  std::lock_guard lock(_lock);
  if (_problems.size() >= kCapacity && !_problems.contains(about)) {
    ++_leftOut;
    return;
  }
  _problems[about] = text;
}

void ProblemList::settle(const std::string& about) {
  std::lock_guard lock(_lock);
  _problems.erase(about);
}

std::vector<std::string> ProblemList::texts() {
  std::lock_guard lock(_lock);
  std::vector<std::string> texts;
  for (const auto& [about, text] : _problems) texts.push_back(text);
  if (_leftOut > 0) texts.push_back("... and " + std::to_string(_leftOut) + " more; see the log");
  return texts;
}

}  // namespace tessera
