#include "skiff/importer/CloudImporter.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "skiff/importer/ExistingItems.h"
#include "skiff/importer/ImportPass.h"
#include "skiff/importer/SourceWalk.h"

namespace tessera {

namespace {

// Counts the files, so that progress has something to be measured against. Reading the
// folders twice costs little beside reading the files once.
class FileCount final : public SourceVisitor {
 public:
  bool enterFolder(const SourceFolder&, const std::string&) override { return true; }
  void leaveFolder() override {}
  void visitFile(int, const std::string&) override { ++_files; }
  void leaveOut(const std::string&, const std::string&) override {}

  [[nodiscard]] std::uint64_t files() const { return _files; }

 private:
  std::uint64_t _files = 0;
};

}  // namespace

CloudImporter::CloudImporter(CloudDatabase& database, CloudAssets& assets, ZoneID zone,
                             std::vector<FileIdentity> excluded)
    : _database(database),
      _assets(assets),
      _zone(std::move(zone)),
      _excluded(std::move(excluded)) {}

ImportReport CloudImporter::importFolder(const std::filesystem::path& folder,
                                         const Progress& progress, std::stop_token stop) {
  ImportReport report;
  try {
    checkTop(folder);
    run(folder, progress, stop, report);
  } catch (const CloudError& error) {
    throw ImportFailed(error, std::move(report));
  }
  return report;
}

// Looks whether `folder` or one above it is excluded.
void CloudImporter::checkTop(const std::filesystem::path& folder) const {
  std::filesystem::path at = folder;
  std::optional<FileIdentity> below;
  for (auto here = FileIdentity::of(at); here && here != below; here = FileIdentity::of(at)) {
    if (std::find(_excluded.begin(), _excluded.end(), *here) != _excluded.end()) {
      throw ImportRefused("The folder " + folder.string() +
                          " belongs to this system itself and cannot be imported");
    }
    below = here;
    at /= "..";  // of the folder, whatever links lead to it; the topmost is its own parent
  }
}

void CloudImporter::run(const std::filesystem::path& folder, const Progress& progress,
                        const std::stop_token& stop, ImportReport& report) {
  if (progress) progress({});
  FileCount count;
  report.stopped = !SourceWalk(_excluded, count).run(folder, stop);
  if (report.stopped) return;
  ExistingItems existing(_database, _zone, stop);
  if (stop.stop_requested()) {
    report.stopped = true;
    return;
  }
  ImportPass pass({_database, _assets, _zone}, existing, folder, count.files(), progress, stop,
                  report);
  try {
    report.stopped = !SourceWalk(_excluded, pass).run(folder, stop);
    pass.finish();
  } catch (...) {
    pass.abandon();
    throw;
  }
}

}  // namespace tessera
