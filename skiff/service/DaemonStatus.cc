#include "skiff/service/DaemonStatus.h"

#include <unistd.h>

#include "skiff/service/Version.h"

namespace tessera {

DaemonStatus DaemonStatus::of(Daemon& daemon) {
  DaemonStatus status;
  status.cloud = daemon.link.state();
  if (auto account = daemon.accounts->current()) status.accountName = account->name;
  status.applying = daemon.accounts->isApplying();
  status.problems = daemon.problems.texts();
  ItemStore::Reader reader = daemon.store.reader();
  reader.beginSnapshot();
  status.totals = reader->totals();
  if (std::int64_t parked = reader->parkedCount(); parked > 0) {
    status.problems.push_back(std::to_string(parked) +
                              " documents wait for their folder, which the cloud has not shown");
  }
  for (const TransferQueue::Progress& progress : daemon.transfers->running()) {
    std::optional<StoredItem> item = reader->find(progress.uuid);
    std::string path = item ? reader->path(item->id).value_or("") : "";
    status.downloads.push_back({progress, daemon.tree.absolutePath(path)});
  }
  return status;
}

void DaemonStatus::encode(wire::Status::Builder status, const Daemon& daemon) const {
  status.setPid(static_cast<std::uint32_t>(::getpid()));
  status.setVersion(kVersion);
  status.setHome(daemon.home.name().string());
  status.setTree(daemon.home.tree().string());
  status.setCloudUrl(daemon.config.cloudUrl);
  status.setCloudState(cloud.connected ? "connected"
                                       : (cloud.message.empty() ? "none" : "unreachable"));
  status.setCloudMessage(cloud.message);
  status.setAccountName(accountName);
  status.setPlaceholders(placeholderKindName(daemon.config.placeholders));
  status.setFolders(totals.folders);
  status.setDocuments(totals.documents);
  status.setPresent(totals.present);
  status.setPresentBytes(totals.presentBytes);
  status.setApplying(applying);
  auto list = status.initDownloads(static_cast<unsigned>(downloads.size()));
  for (unsigned index = 0; index < list.size(); ++index) {
    const Download& download = downloads[index];
    list[index].setFileObjectId(download.progress.uuid.toString());
    list[index].setPath(download.path);
    list[index].setBytesDone(download.progress.bytesDone);
    list[index].setBytesTotal(download.progress.bytesTotal);
  }
  auto texts = status.initProblems(static_cast<unsigned>(problems.size()));
  for (unsigned index = 0; index < texts.size(); ++index) texts.set(index, problems[index]);
}

}  // namespace tessera
