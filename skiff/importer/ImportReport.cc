#include "skiff/importer/ImportReport.h"

#include <utility>

namespace tessera {

void ImportReport::leaveOut(std::string path, std::string reason) {
  ++leftOutCount;
  if (leftOut.size() < kMostProblems) leftOut.push_back({std::move(path), std::move(reason)});
}

}  // namespace tessera
