#include <memory>

#include <fmt/format.h>

#include "cli/Command.h"
#include "cli/Escape.h"
#include "cli/ItemJson.h"
#include "cli/Items.h"

namespace tessera {
namespace {

void row(const char* name, const std::string& value) {
  printLine(fmt::format("{:<12} {}", name, value));
}

void printRecord(wire::ProviderItem::Reader item, const std::string& path,
                 const std::string& onDisk) {
  row("name", escaped(item.getFilename().cStr()));
  row("path", escaped(path));
  row("on disk", escaped(onDisk));
  row("identifier", escaped(item.getIdentifier().cStr()));
  row("parent", escaped(item.getParentIdentifier().cStr()));
  row("type", escaped(item.getContentType().cStr()));
  if (item.getHasDocumentSize()) {
    row("size", fmt::format("{} bytes", item.getDocumentSize()));
  }
  if (item.getHasChildItemCount()) row("entries", std::to_string(item.getChildItemCount()));
  if (item.getHasCreated()) row("created", rfc3339(item.getCreated()));
  if (item.getHasModified()) row("modified", rfc3339(item.getModified()));
  if (item.getHasLastUsed()) row("last used", rfc3339(item.getLastUsed()));
  if (!isFolder(item)) {
    row("version", escaped(item.getVersionIdentifier().cStr()));
    row("content", item.getIsDownloaded() ? "here" : "in the cloud");
    row("uploaded", item.getIsUploaded() ? "yes" : "not yet");
  }
  std::string tags;
  for (const auto tag : item.getTags()) tags += (tags.empty() ? "" : ", ") + escaped(tag.cStr());
  if (!tags.empty()) row("tags", tags);
}

void show(CommandContext& context, const std::string& argument) {
  Items items(context.session());
  const Items::Found found = items.find(argument);
  auto answer = items.record(found.identifier, argument);
  const auto item = answer.getItem();
  // A reference answers with its target's record: the path is the target's, too.
  const std::string onDisk = items.url(item.getIdentifier().cStr());
  const std::string path = items.belowTree(onDisk);
  if (context.json) {
    Json json = itemJson(item, path);
    json["url"] = onDisk;
    printJson(json);
  } else {
    printRecord(item, path, onDisk);
  }
}

}  // namespace

void addInfoCommand(CLI::App& app, CommandContext& context) {
  auto path = std::make_shared<std::string>();
  auto* command = app.add_subcommand("info", "Show an item's record");
  command->add_option("PATH", *path, "The item")->required();
  addJsonFlag(*command, context);
  command->footer(
      "\nExamples:\n  tessera info photos/beach.jpg\n"
      "  tessera info --json / | jq -r .identifier");
  command->callback([&context, path] { show(context, *path); });
}

}  // namespace tessera
