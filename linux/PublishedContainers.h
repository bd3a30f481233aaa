#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "home/Home.h"
#include "home/PublishedFile.h"
#include "platform/foundation/Guarded.h"
#include "platform/tessera/GVContainer.h"

namespace tessera {

// The containers, from the file that the daemon publishes: no request is made, and the
// answer holds while the daemon is down. Entries that cannot be right are left out, and a
// file that cannot be understood counts as empty; both with an error line.
//
// Threads: any.
class PublishedContainers final : public GVContainer::Backend {
 public:
  explicit PublishedContainers(const Home& home)
      : _file(home.containersFile()), _tree(home.tree()) {}

  GVContainersByID allContainersByContainerID() override;

  // The container whose documents folder is at `path` (absolute and normalised).
  [[nodiscard]] std::optional<std::string> containerAtPath(const std::string& path);

  // The file was replaced or withdrawn: posts GVContainerListDidChangeNotification, on the
  // calling thread, if the list was asked for before and is another one now.
  void fileDidChange();

 private:
  // One version of the file.
  struct Parsed {
    std::optional<std::string> text;
    GVContainersByID containers;
    std::map<std::string, std::string> identifiersByPath;
  };
  using ParsedPtr = std::shared_ptr<const Parsed>;

  [[nodiscard]] ParsedPtr current();
  [[nodiscard]] ParsedPtr parse(std::optional<std::string> text) const;

  PublishedFile _file;
  const std::filesystem::path _tree;
  Guarded<ParsedPtr> _latest;  // what was parsed last
  Guarded<ParsedPtr> _told;    // what the list's users know of; nullptr if nobody asked
};

}  // namespace tessera
