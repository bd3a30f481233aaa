#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tessera {

// A real instance in a temporary folder, with the programs that stand beside the benchmark.
// Ended and removed by the destructor.
class BenchInstance {
 public:
  BenchInstance();
  ~BenchInstance();
  BenchInstance(const BenchInstance&) = delete;
  BenchInstance& operator=(const BenchInstance&) = delete;

  // Runs `tessera ARGUMENTS`; ends the benchmark with its output when it fails.
  void tessera(const std::vector<std::string>& arguments) const;

  [[nodiscard]] const std::filesystem::path& home() const noexcept { return _home; }
  [[nodiscard]] std::filesystem::path cloud() const { return _home / "cloud"; }
  // The folder of the programs under test: the benchmark's own.
  [[nodiscard]] static std::filesystem::path programs();

 private:
  std::filesystem::path _home;
};

// Fills `account`'s default container in the cloud below `cloudFolder` with one folder
// "bench" of `count` documents that share one small content.
void fillCloud(const std::filesystem::path& cloudFolder, const std::string& account,
               std::size_t count);

// The middle and the 99th percentile of durations, in microseconds.
struct Percentiles {
  double p50 = 0;
  double p99 = 0;
};
[[nodiscard]] Percentiles percentiles(std::vector<double> microseconds);

// Prints one result: "NAME: VALUE UNIT, BASELINE: VALUE UNIT, ratio R (goal: at most G)".
void printRatio(const std::string& name, double value, const std::string& baselineName,
                double baseline, const std::string& unit, double goal);

}  // namespace tessera
