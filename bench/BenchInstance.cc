#include "BenchInstance.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>

#include <sys/wait.h>
#include <unistd.h>

#include "cloud/CloudService.h"
#include "cloud/DocumentRecord.h"

namespace tessera {
namespace {

[[noreturn]] void give_up(const std::string& why) {
  std::fprintf(stderr, "benchmark: %s\n", why.c_str());
  std::exit(1);
}

// Documents of different names, dates and identifiers, the same from run to run.
Record benchDocument(const ZoneID& zone, const std::string& folder, std::size_t number,
                     const Asset& content) {
  std::array<char, 64> text{};
  DocumentRecord document;
  std::snprintf(text.data(), text.size(), "00000000-0000-4000-8000-%012zx", number);
  document.id = {zone, text.data()};
  document.parent = folder;
  std::snprintf(text.data(), text.size(), "document %07zu.txt", number);
  document.name = text.data();
  document.content = content;
  document.createdAt = 1'600'000'000'000'000'000;
  // A permutation, so that the order by date is not the order by name.
  document.modifiedAt =
      document.createdAt + static_cast<std::int64_t>(number * 7'919 % 1'000'003) * 1'000'000;
  document.contentType = "text/plain";
  return document.toRecord();
}

}  // namespace

BenchInstance::BenchInstance() {
  std::string folder = std::filesystem::temp_directory_path() / "tessera-bench-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) give_up("cannot make a temporary folder");
  _home = folder;
  ::setenv("TESSERA_HOME", folder.c_str(), 1);
  ::setenv("TESSERA_LOG_LEVEL", "default", 1);
}

BenchInstance::~BenchInstance() {
  const std::string command = (programs() / "tessera").string() + " down >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) std::fprintf(stderr, "benchmark: down failed\n");
  std::error_code failure;
  std::filesystem::remove_all(_home, failure);
}

std::filesystem::path BenchInstance::programs() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void BenchInstance::tessera(const std::vector<std::string>& arguments) const {
  const std::string program = programs() / "tessera";
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    ::execv(program.c_str(), argv.data());
    ::_exit(127);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  if (status != 0) give_up("tessera " + arguments.front() + " failed");
}

void fillCloud(const std::filesystem::path& cloudFolder, const std::string& account,
               std::size_t count) {
  constexpr std::size_t kBatch = 2000;
  const auto cloud = openCloudService(cloudFolder.string(), OpenCloud::CreateIfMissing);
  cloud->makeAccount(account);
  const auto assets = cloud->assets();
  auto upload = assets->upload();
  upload->write(std::as_bytes(std::span("content")));
  const Asset content = upload->finish();
  assets->commit({content});

  const auto database = cloud->privateDatabase(account);
  const ZoneID zone{account, kDefaultContainer};
  DocumentRecord folder;
  folder.id = {zone, "00000000-0000-4000-9000-000000000000"};
  folder.kind = DocumentKind::Folder;
  folder.parent = kDocumentsFolderRecord;
  folder.name = "bench";
  database->modify({folder.toRecord()}, {}, SavePolicy::IfUnchanged);
  for (std::size_t first = 0; first < count; first += kBatch) {
    std::vector<Record> batch;
    for (std::size_t i = first; i < std::min(first + kBatch, count); ++i) {
      batch.push_back(benchDocument(zone, folder.id.name, i, content));
    }
    database->modify(batch, {}, SavePolicy::IfUnchanged);
  }
}

Percentiles percentiles(std::vector<double> microseconds) {
  std::sort(microseconds.begin(), microseconds.end());
  return {microseconds[microseconds.size() / 2], microseconds[microseconds.size() * 99 / 100]};
}

void printRatio(const std::string& name, double value, const std::string& baselineName,
                double baseline, const std::string& unit, double goal) {
  const double ratio = value / baseline;
  std::printf("%s: %.4g %s, %s: %.4g %s, ratio %.2f (goal: at most %.2f)%s\n", name.c_str(), value,
              unit.c_str(), baselineName.c_str(), baseline, unit.c_str(), ratio, goal,
              ratio <= goal ? "" : " MISSED");
  std::fflush(stdout);
}

}  // namespace tessera
