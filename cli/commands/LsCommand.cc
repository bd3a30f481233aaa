#include <memory>

#include "cli/Command.h"
#include "cli/Escape.h"
#include "cli/ItemJson.h"
#include "cli/Items.h"

namespace tessera {
namespace {

struct LsOptions {
  std::string path = "/";
  std::string sort = "name";
  bool detailed = false;
};

void printItem(const CommandContext& context, const LsOptions& options,
               wire::ProviderItem::Reader item, const std::string& path) {
  if (context.json) {
    printJson(itemJson(item, path));
  } else if (options.detailed) {
    printLine(itemRow(item));
  } else {
    printLine(escaped(item.getFilename().cStr()) + (isFolder(item) ? "/" : ""));
  }
}

void list(CommandContext& context, const LsOptions& options) {
  Items items(context.session());
  const Items::Found found = items.find(options.path);
  const std::string path = items.belowTree(found.path);
  auto answer = items.record(found.identifier, options.path);
  if (!isFolder(answer.getItem())) {
    printItem(context, options, answer.getItem(), path);
    return;
  }
  items.forEachEntry(found.identifier, options.path, options.sort == "date",
                     [&context, &options, &path](wire::ProviderItem::Reader item) {
                       printItem(context, options, item,
                                 childPath(path, item.getFilename().cStr()));
                     });
}

}  // namespace

void addLsCommand(CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<LsOptions>();
  auto* command = app.add_subcommand("ls", "List a folder, page by page, through the extension");
  command->add_option("PATH", options->path, "The folder (default: the tree's root)");
  command->add_flag("-l", options->detailed, "Whether the content is here, size, date (UTC), name");
  command->add_option("--sort", options->sort, "By name, or by date with the latest first")
      ->check(CLI::IsMember({"name", "date"}));
  addJsonFlag(*command, context);
  command->footer(
      "\nExamples:\n  tessera ls -l /\n  tessera ls --sort date photos\n"
      "  tessera ls --json / | jq -r .name      one JSON object a line");
  command->callback([&context, options] { list(context, *options); });
}

}  // namespace tessera
