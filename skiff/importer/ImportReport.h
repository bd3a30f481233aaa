#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cloud/CloudError.h"

namespace tessera {

// What an import did. Counts what is saved in the cloud for good, nothing that is on its way.
struct ImportReport {
  struct Problem {
    std::string path;  // bytes as the file system has them: need not be UTF-8
    std::string reason;
  };

  std::uint64_t folders = 0;     // added
  std::uint64_t documents = 0;   // added, or saved as a new version
  std::uint64_t bytes = 0;       // of those documents
  std::uint64_t unchanged = 0;   // documents that the cloud had with the same content
  std::vector<Problem> leftOut;  // the first kMostProblems
  std::uint64_t leftOutCount = 0;
  bool stopped = false;  // ended on request before everything was looked at

  static constexpr std::size_t kMostProblems = 1000;

  void leaveOut(std::string path, std::string reason);
};

// How far an import is.
struct ImportProgress {
  std::uint64_t documents = 0;  // looked at, left out ones included
  std::uint64_t bytes = 0;      // read
  std::uint64_t total = 0;      // documents to look at; 0 while they are being counted
};

// A folder cannot be imported at all. The message names it and says why.
class ImportRefused : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The cloud failed during an import. What it says and its code are those of the failure;
// the report tells what had been saved until then.
class ImportFailed : public CloudError {
 public:
  ImportFailed(const CloudError& cause, ImportReport report)
      : CloudError(cause.code(), cause.what()), _report(std::move(report)) {}
  [[nodiscard]] const ImportReport& report() const noexcept { return _report; }

 private:
  ImportReport _report;
};

}  // namespace tessera
