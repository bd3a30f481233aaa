// How long it takes to put a folder into a cloud, against copying it: `cp -r` and then `sync`
// of the same files on the same file system, in turns with the import.
//
//   import-bench [FOLDER [WHERE]]    (default: /usr/share/doc, the folder for temporary files)
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"
#include "skiff/importer/CloudImporter.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 3;

// A folder that goes away with this object.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const fs::path& where) {
    std::string pattern = (where / "tessera-import-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("No folder for temporary files can be made in " + where.string());
    }
    _path = pattern;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(_path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const fs::path& path() const noexcept { return _path; }

 private:
  fs::path _path;
};

void runProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t child = ::fork();
  if (child == 0) {
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
  }
  int status = 0;
  if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error(words[0] + " failed");
  }
}

double secondsOf(const std::function<void()>& work) {
  auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double timeCopy(const fs::path& folder, const fs::path& where) {
  TemporaryFolder target(where);
  ::sync();  // what others have written is not ours to wait for
  return secondsOf([&folder, &target] {
    runProgram({"cp", "-r", folder.string(), (target.path() / "copy").string()});
    runProgram({"sync"});
  });
}

double timeImport(const fs::path& folder, const fs::path& where, ImportReport& report) {
  TemporaryFolder target(where);
  ::sync();
  return secondsOf([&folder, &target, &report] {
    auto cloud = openCloudService(target.path().string(), OpenCloud::CreateIfMissing);
    cloud->makeAccount("someone");
    auto database = cloud->privateDatabase("someone");
    auto assets = cloud->assets();
    CloudImporter importer(*database, *assets, {"someone", kDefaultContainer});
    report = importer.importFolder(folder, {}, std::stop_token());
  });
}

void run(const fs::path& folder, const fs::path& where) {
  std::array<double, kRounds> ratios{};
  for (double& ratio : ratios) {
    double copied = timeCopy(folder, where);
    ImportReport report;
    double imported = timeImport(folder, where, report);
    ratio = imported / copied;
    std::printf("cp -r + sync %.3f s, import %.3f s: ratio %.2f (%.0f documents/s, %.1f MiB/s)\n",
                copied, imported, ratio, static_cast<double>(report.documents) / imported,
                static_cast<double>(report.bytes) / imported / (1 << 20));
    if (&ratio == &ratios.back()) {
      std::printf("%llu folders, %llu documents, %.1f MiB; %llu entries left out\n",
                  static_cast<unsigned long long>(report.folders),
                  static_cast<unsigned long long>(report.documents),
                  static_cast<double>(report.bytes) / (1 << 20),
                  static_cast<unsigned long long>(report.leftOutCount));
    }
  }
  std::sort(ratios.begin(), ratios.end());
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  std::printf(
      "import / (cp -r + sync): %.2f (median of %d; at most 3 is wanted); peak memory %ld MiB\n",
      ratios[kRounds / 2], kRounds, usage.ru_maxrss / 1024);
}

}  // namespace
}  // namespace tessera

int main(int argumentCount, char** arguments) {
  try {
    std::filesystem::path folder = argumentCount > 1 ? arguments[1] : "/usr/share/doc";
    std::filesystem::path where =
        argumentCount > 2 ? arguments[2] : std::filesystem::temp_directory_path().string();
    tessera::run(folder, where);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "import-bench: %s\n", error.what());
    return 1;
  }
}
