#include <memory>

#include <fmt/format.h>

#include "cli/Command.h"
#include "cli/ErrorText.h"
#include "cli/Escape.h"
#include "cli/ItemJson.h"

namespace tessera {
namespace {

Json hostJson(wire::HostStatus::Reader host) {
  return {{"running", true},
          {"version", host.getVersion().cStr()},
          {"home", host.getHome().cStr()},
          {"tree", host.getTree().cStr()},
          {"host", {{"pid", host.getPid()}}},
          {"extension",
           {{"pid", host.getExtensionPid()},
            {"starts", host.getExtensionStarts()},
            {"crashes", host.getExtensionCrashes()}}},
          {"skiff",
           {{"pid", host.getSkiffPid()},
            {"starts", host.getSkiffStarts()},
            {"message", host.getSkiffMessage().cStr()}}}};
}

void addDaemon(Json& json, wire::Status::Reader daemon) {
  const std::string account = daemon.getAccountName().cStr();
  json["account"] = account.empty() ? Json(nullptr) : Json(account);
  json["cloud"] = {{"url", daemon.getCloudUrl().cStr()},
                   {"state", daemon.getCloudState().cStr()},
                   {"message", daemon.getCloudMessage().cStr()}};
  json["placeholders"] = daemon.getPlaceholders().cStr();
  json["placeholdersWhy"] = "this version has hidden placeholders only";
  json["folders"] = daemon.getFolders();
  json["documents"] = daemon.getDocuments();
  json["present"] = daemon.getPresent();
  json["presentBytes"] = daemon.getPresentBytes();
  json["applying"] = daemon.getApplying();
  Json downloads = Json::array();
  for (const auto transfer : daemon.getDownloads()) {
    downloads.push_back({{"identifier", transfer.getFileObjectId().cStr()},
                         {"path", transfer.getPath().cStr()},
                         {"done", transfer.getBytesDone()},
                         {"total", transfer.getBytesTotal()}});
  }
  json["downloads"] = downloads;
  Json problems = Json::array();
  for (const auto problem : daemon.getProblems()) problems.push_back(problem.cStr());
  json["problems"] = problems;
}

std::string running(std::uint64_t pid) {
  return pid == 0 ? "not running" : fmt::format("running ({})", pid);
}

void row(const char* name, const std::string& value) {
  printLine(fmt::format("{:<13} {}", name, escaped(value)));
}

void printStatus(const Json& json) {
  row("home", json["home"]);
  row("tree", json["tree"]);
  row("host", running(json["host"]["pid"]));
  row("skiff", running(json["skiff"]["pid"]));
  const std::string message = json["skiff"]["message"];
  if (!message.empty()) row("", message);
  // It comes with the first request and goes when nobody needs it.
  row("extension", running(json["extension"]["pid"]));
  if (!json.contains("cloud")) return;
  row("account", json["account"].is_null() ? "nobody is signed in" : std::string(json["account"]));
  row("cloud", fmt::format("{} ({})", std::string(json["cloud"]["url"]),
                           std::string(json["cloud"]["state"])));
  const std::string cloudMessage = json["cloud"]["message"];
  if (!cloudMessage.empty()) row("", cloudMessage);
  row("placeholders", fmt::format("{}: {}", std::string(json["placeholders"]),
                                  std::string(json["placeholdersWhy"])));
  row("documents",
      fmt::format("{} in {} folders, {} here ({}){}", json["documents"].get<std::uint64_t>(),
                  json["folders"].get<std::uint64_t>(), json["present"].get<std::uint64_t>(),
                  humanSize(json["presentBytes"]),
                  json["applying"] ? "; changes are arriving" : ""));
  for (const auto& transfer : json["downloads"]) {
    row("fetching", fmt::format("{} {} of {}", std::string(transfer["path"]),
                                humanSize(transfer["done"]), humanSize(transfer["total"])));
  }
  for (const auto& problem : json["problems"]) row("problem", problem);
}

void show(CommandContext& context, bool wait) {
  Session& session = context.session();
  auto host = session.wait(session.host().statusRequest().send());
  if (wait) {
    throwIfError(session.wait(session.admin().waitUntilIdleRequest().send()).getError());
    host = session.wait(session.host().statusRequest().send());
  }
  Json json = hostJson(host.getStatus());
  if (session.skiffAnswers()) {
    auto daemon = session.wait(session.admin().statusRequest().send());
    addDaemon(json, daemon.getStatus());
    json["skiff"]["pid"] = daemon.getStatus().getPid();
  }
  if (context.json) {
    printJson(json);
  } else {
    printStatus(json);
  }
}

}  // namespace

void addStatusCommand(CLI::App& app, CommandContext& context) {
  auto wait = std::make_shared<bool>(false);
  auto* command = app.add_subcommand("status", "Say how the instance is");
  command->add_flag("--wait", *wait, "First wait until everything the cloud has is in the tree");
  addJsonFlag(*command, context);
  command->callback([&context, wait] { show(context, *wait); });
}

}  // namespace tessera
