#pragma once

#include <string>
#include <vector>

#include "protocol/skiff.capnp.h"
#include "skiff/service/Daemon.h"

namespace tessera {

// How a daemon stands at one moment.
struct DaemonStatus {
  CloudLink::State cloud;
  std::string accountName;
  bool applying = false;
  ItemTable::Totals totals;
  struct Download {
    TransferQueue::Progress progress;
    std::string path;
  };
  std::vector<Download> downloads;
  std::vector<std::string> problems;

  // Any thread but the loop's: it reads the store.
  [[nodiscard]] static DaemonStatus of(Daemon& daemon);
  void encode(wire::Status::Builder status, const Daemon& daemon) const;
};

}  // namespace tessera
