#include <filesystem>
#include <memory>
#include <vector>

#include <fmt/format.h>

#include "cli/Command.h"
#include "cli/ErrorText.h"
#include "cli/Escape.h"
#include "cli/ItemJson.h"
#include "cli/Progress.h"

namespace tessera {
namespace {

constexpr std::size_t kReasonsShown = 20;

std::string absolutePath(const std::string& path) {
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  if (failure) throw CliError(path + ": " + failure.message() + ".");
  return absolute.lexically_normal().string();
}

// Shows how far an import has come.
class ShownImportProgress final : public wire::ImportProgress::Server {
 public:
  kj::Promise<void> report(ReportContext context) override {
    const auto told = context.getParams();
    std::string text =
        fmt::format("{} documents, {}", told.getDocuments(), humanSize(told.getBytes()));
    if (told.getTotal() > 0) text += fmt::format(" of {} documents", told.getTotal());
    _progress.show(text);
    return kj::READY_NOW;
  }

 private:
  Progress _progress;
};

struct ImportOptions {
  std::string folder;
  std::string container = "tessera.documents.default";
  bool verbose = false;
};

Json importJson(wire::ImportResult::Reader result) {
  Json left = Json::array();
  for (const auto problem : result.getLeftOut()) {
    left.push_back({{"path", problem.getPath().cStr()}, {"reason", problem.getReason().cStr()}});
  }
  return {{"folders", result.getFolders()},
          {"documents", result.getDocuments()},
          {"bytes", result.getBytes()},
          {"unchanged", result.getUnchanged()},
          {"leftOutCount", result.getLeftOutCount()},
          {"leftOut", left}};
}

void printLeftOut(wire::ImportResult::Reader result, bool all) {
  std::size_t shown = 0;
  for (const auto problem : result.getLeftOut()) {
    if (!all && shown == kReasonsShown) break;
    std::fprintf(stderr, "left out: %s: %s\n", escaped(problem.getPath().cStr()).c_str(),
                 escaped(problem.getReason().cStr()).c_str());
    ++shown;
  }
  if (result.getLeftOutCount() > shown) {
    std::fprintf(stderr, "left out: %llu more%s\n",
                 static_cast<unsigned long long>(result.getLeftOutCount() - shown),
                 all ? "" : " (--verbose shows them)");
  }
}

void importFolder(CommandContext& context, const ImportOptions& options) {
  auto request = context.session().admin().importFolderRequest();
  request.setPath(absolutePath(options.folder).c_str());
  request.setContainerId(options.container.c_str());
  request.setProgress(kj::heap<ShownImportProgress>());
  auto answer = context.session().wait(request.send());
  throwIfError(answer.getError());
  const auto result = answer.getResult();
  if (context.json) {
    printJson(importJson(result));
  } else {
    printLeftOut(result, options.verbose);
    printLine(fmt::format(
        "{} documents and {} folders are in the cloud now ({}), {} were there "
        "already{}",
        result.getDocuments(), result.getFolders(), humanSize(result.getBytes()),
        result.getUnchanged(),
        result.getLeftOutCount() == 0 ? std::string()
                                      : fmt::format("; {} left out", result.getLeftOutCount())));
  }
  if (result.getLeftOutCount() > 0) context.status = kStatusLeftOut;
}

struct ContainerOptions {
  std::string identifier;
  std::string name;
  std::vector<std::string> icons;
};

void addContainer(CommandContext& context, const ContainerOptions& options) {
  auto request = context.session().admin().addContainerRequest();
  request.setContainerId(options.identifier.c_str());
  request.setDisplayName(options.name.empty() ? options.identifier.c_str() : options.name.c_str());
  auto icons = request.initIconPaths(static_cast<unsigned>(options.icons.size()));
  for (unsigned i = 0; i < icons.size(); ++i) icons.set(i, absolutePath(options.icons[i]).c_str());
  throwIfError(context.session().wait(request.send()).getError());
  if (context.json) {
    printJson({{"identifier", options.identifier}});
  } else {
    printLine("Added " + escaped(options.identifier));
  }
}

void listContainers(CommandContext& context) {
  auto answer = context.session().wait(context.session().admin().containersRequest().send());
  throwIfError(answer.getError());
  for (const auto container : answer.getContainers()) {
    if (context.json) {
      printJson({{"identifier", container.getContainerId().cStr()},
                 {"name", container.getDisplayName().cStr()},
                 {"documents", container.getDocumentsPath().cStr()}});
    } else {
      printLine(fmt::format("{}  {}  {}", escaped(container.getContainerId().cStr()),
                            escaped(container.getDisplayName().cStr()),
                            escaped(container.getDocumentsPath().cStr())));
    }
  }
}

}  // namespace

void addCloudCommands(CLI::App& app, CommandContext& context) {
  auto* cloud = app.add_subcommand("cloud", "Put documents and containers into the cloud");
  cloud->require_subcommand(1);

  auto import = std::make_shared<ImportOptions>();
  auto* importing = cloud->add_subcommand("import", "Put a folder's documents into the cloud");
  importing->add_option("DIR", import->folder, "The folder; its entries go to the top")->required();
  importing->add_option("--container", import->container,
                        "Into this container (default: the root)");
  importing->add_flag("--verbose", import->verbose, "Show every entry that was left out");
  addJsonFlag(*importing, context);
  importing->footer(
      "\nLinks, devices, sockets, unreadable files and names that are not valid UTF-8 are left\n"
      "out, each with its reason; the status is 3 then.\n\nExample:\n"
      "  tessera cloud import ~/Pictures");
  importing->callback([&context, import] { importFolder(context, *import); });

  auto* container = cloud->add_subcommand("container", "The cloud's containers");
  container->require_subcommand(1);
  auto options = std::make_shared<ContainerOptions>();
  auto* add = container->add_subcommand("add", "Add a container, or change its name");
  add->add_option("ID", options->identifier, "Reverse-DNS identifier")->required();
  add->add_option("--name", options->name, "The name of its folder (default: the identifier)");
  add->add_option("--icon", options->icons, "A PNG; several for several sizes");
  addJsonFlag(*add, context);
  add->footer("\nExample:\n  tessera cloud container add com.example.notes --name Notes");
  add->callback([&context, options] { addContainer(context, *options); });
  auto* list = container->add_subcommand("list", "List the containers and their folders");
  addJsonFlag(*list, context);
  list->callback([&context] { listContainers(context); });
}

}  // namespace tessera
