// What log sections and log lines cost while logging is off: every request makes sections
// and passes dozens of lines that nobody reads.
#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/LogSection.h"
#include "platform/tessera/GVLog.h"

namespace tessera {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kRepeats = 2'000'000;
constexpr int kRounds = 9;
constexpr int kThreads = 8;

std::atomic<std::uint64_t> counter{0};

[[gnu::noinline]] void emptyFunction(const std::string& text, std::uint64_t number) {
  asm volatile("" : : "r"(&text), "r"(number) : "memory");
}

void incrementAtomic(std::uint64_t repeats) {
  for (std::uint64_t i = 0; i < repeats; ++i) counter.fetch_add(1);
}

void callEmptyFunction(std::uint64_t repeats) {
  const std::string text = "an argument";
  for (std::uint64_t i = 0; i < repeats; ++i) emptyFunction(text, i);
}

void logDisabledLine(std::uint64_t repeats) {
  const std::string text = "an argument";
  for (std::uint64_t i = 0; i < repeats; ++i) {
    gvc_default_log().debug("[DEBUG] ┏%llx asked url for %@", i, text);
    asm volatile("" : : : "memory");
  }
}

void makeSections(std::uint64_t repeats) {
  for (std::uint64_t i = 0; i < repeats; ++i) const LogSection section;
}

using Work = std::function<void(std::uint64_t)>;

double nanosecondsEach(Clock::duration took) {
  return std::chrono::duration<double, std::nano>(took).count() / kRepeats;
}

// Nanoseconds for one, on one thread.
double timeAlone(const Work& work) {
  const auto start = Clock::now();
  work(kRepeats);
  return nanosecondsEach(Clock::now() - start);
}

// Nanoseconds of wall-clock time for one of all that `kThreads` threads do together.
double timeTogether(const Work& work) {
  std::barrier ready(kThreads + 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&work, &ready] {
      ready.arrive_and_wait();
      work(kRepeats / kThreads);
    });
  }
  const auto start = Clock::now();
  ready.arrive_and_wait();
  for (std::thread& thread : threads) thread.join();
  return nanosecondsEach(Clock::now() - start);
}

// The median of some rounds: one that something else disturbed does not count.
double median(double (*time)(const Work&), const Work& work) {
  std::vector<double> rounds;
  for (int round = 0; round < kRounds; ++round) rounds.push_back(time(work));
  std::nth_element(rounds.begin(), rounds.begin() + kRounds / 2, rounds.end());
  return rounds[kRounds / 2];
}

void print(const char* what, double nanoseconds, const char* baselineName, double baseline,
           const char* limit) {
  std::printf("%-44s %8.2f ns   ratio %6.2f to %s (%.2f ns)%s\n", what, nanoseconds,
              nanoseconds / baseline, baselineName, baseline, limit);
}

void run() {
  const double atomicAlone = median(timeAlone, incrementAtomic);
  const double callAlone = median(timeAlone, callEmptyFunction);
  const double atomicTogether = median(timeTogether, incrementAtomic);
  print("log section, one thread", median(timeAlone, makeSections), "atomic increment", atomicAlone,
        ", at most 30 wanted");
  print("log section, eight threads", median(timeTogether, makeSections),
        "atomic increment by eight threads", atomicTogether, "");
  print("log line that is off", median(timeAlone, logDisabledLine), "call of an empty function",
        callAlone, ", at most 2 wanted");
}

}  // namespace
}  // namespace tessera

int main() {
  tessera::run();
  return 0;
}
