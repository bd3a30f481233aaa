#include <filesystem>
#include <memory>

#include "cli/Command.h"
#include "cli/Daemonize.h"
#include "cli/Escape.h"
#include "home/HomeConfig.h"
#include "home/InstanceLock.h"

namespace tessera {
namespace {

namespace fs = std::filesystem;

constexpr int kReadySeconds = 15;
constexpr kj::Duration kLook = 100 * kj::MILLISECONDS;

struct UpOptions {
  std::string cloud;
  std::string placeholders = "auto";
};

// The folder that --cloud names, absolute.
std::string cloudFolder(const std::string& given) {
  std::string path = given;
  if (path.starts_with("file://")) path = path.substr(7);
  if (path.find("://") != std::string::npos) {
    throw CliError("The cloud " + given +
                   " is of a kind that this version does not know; name a "
                   "folder, or file:///FOLDER.");
  }
  if (path.empty()) throw CliError("--cloud names no folder.");
  fs::path folder = fs::absolute(path).lexically_normal();
  if (!folder.has_filename() && folder.has_relative_path()) folder = folder.parent_path();
  return folder.string();
}

void configure(const Home& home, const UpOptions& options) {
  if (options.placeholders == "hook") {
    throw CliError(
        "This version has hidden placeholders only. Use --placeholders hidden, or auto.");
  }
  const auto config = HomeConfig::load(home);
  if (config) {
    if (!options.cloud.empty() && cloudFolder(options.cloud) != config->cloudUrl) {
      throw CliError("This home belongs to the cloud " + config->cloudUrl +
                     ". For another cloud set TESSERA_HOME to another folder.");
    }
    return;
  }
  const std::string cloud =
      options.cloud.empty() ? home.defaultCloud().string() : cloudFolder(options.cloud);
  home.create();
  HomeConfig{cloud}.save(home);
}

fs::path besideUs(const char* program) {
  if (const char* folder = std::getenv("TESSERA_LIBEXEC"); folder != nullptr && *folder != '\0') {
    return fs::path(folder) / program;
  }
  return fs::read_symlink("/proc/self/exe").parent_path() / program;
}

// The daemon is started by the host; until it answers, the instance is of no use.
void waitForDaemon(Session& session) {
  for (int looks = 0; looks < kReadySeconds * 10; ++looks) {
    if (session.skiffAnswers()) {
      session.wait(session.skiff().pingRequest().send().ignoreResult());
      return;
    }
    auto status = session.wait(session.host().statusRequest().send());
    const std::string message = status.getStatus().getSkiffMessage().cStr();
    if (!message.empty()) throw CliError("The sync daemon (skiff) does not start: " + message);
    session.pause(kLook);
  }
  throw CliError("The sync daemon (skiff) does not get ready; log/skiff.log may say why.");
}

void up(CommandContext& context, const UpOptions& options) {
  const Home& home = context.home;
  configure(home, options);
  home.create();  // folders that went away, such as the run folder with a restart
  const bool wasRunning = context.session().hostAnswers();
  if (!wasRunning) {
    startDaemon(besideUs("fileproviderd"), home.log() / "fileproviderd.log", kReadySeconds);
  }
  waitForDaemon(context.session());
  if (context.json) {
    printJson(
        {{"home", home.name().string()}, {"tree", home.tree().string()}, {"started", !wasRunning}});
    return;
  }
  printLine(wasRunning ? "The instance runs already." : "The instance is running.");
  printLine("Documents: " + escaped(home.tree().string()));
}

}  // namespace

void addUpCommand(CLI::App& app, CommandContext& context) {
  auto options = std::make_shared<UpOptions>();
  auto* command = app.add_subcommand("up", "Start the instance; harmless when it runs");
  command->add_option("--cloud", options->cloud,
                      "The folder that is the cloud; can be chosen the first time only");
  command
      ->add_option("--placeholders", options->placeholders,
                   "How documents that are not here stand in the tree")
      ->check(CLI::IsMember({"auto", "hook", "hidden"}));
  addJsonFlag(*command, context);
  command->footer(
      "\nExamples:\n  tessera up\n  tessera up --cloud /srv/cloud\n"
      "  TESSERA_HOME=/tmp/second tessera up --cloud /srv/cloud    a second device");
  command->callback([&context, options] { up(context, *options); });
}

}  // namespace tessera
