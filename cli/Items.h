#pragma once

#include <functional>
#include <string>

#include "cli/PathArgument.h"
#include "cli/Session.h"
#include "protocol/host.capnp.h"

namespace tessera {

// Items of the running instance, as commands name and walk them. Each request goes through
// the extension, and is made once more when the extension ended under it.
class Items {
 public:
  explicit Items(Session& session) : _session(session) {}

  // What a PATH argument names. Throws CliError when there is no such item.
  struct Found {
    std::string identifier;
    std::string path;  // absolute
  };
  [[nodiscard]] Found find(const std::string& argument);

  using ItemAnswer = capnp::Response<wire::FileProviderHost::ItemForIdentifierResults>;
  // The record of an item; throws CliError when there is none.
  [[nodiscard]] ItemAnswer record(const std::string& identifier, const std::string& about);
  // The absolute path of an item's URL; throws CliError when it has none.
  [[nodiscard]] std::string url(const std::string& identifier);

  using Visit = std::function<void(wire::ProviderItem::Reader)>;
  // Lists a folder page by page.
  void forEachEntry(const std::string& identifier, const std::string& about, bool byDate,
                    const Visit& visit);

  [[nodiscard]] const std::filesystem::path& tree();
  [[nodiscard]] std::string belowTree(const std::string& absolute) {
    return pathBelowTree(absolute, tree());
  }

 private:
  template <class MakeRequest>
  auto ask(MakeRequest makeRequest);
  [[nodiscard]] wire::Enumerator::Client enumerator(const std::string& identifier,
                                                    const std::string& about);

  Session& _session;
  std::filesystem::path _tree;
};

}  // namespace tessera
